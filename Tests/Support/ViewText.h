#pragma once

#include "View/ViewRecords.h"

#include <string>

namespace quoxelin {

/// The tree as text: one line per element, children indented by two spaces, with everything a user
/// can see of the element or hear from a screen reader.
///
///     column width=260
///       row fills padding=6,14,6,14 corner=6 background=gray@0.12 hears "Connect"
///         text "Connect" callout
///         spacer
///
/// Attributes with default values are omitted. The order of padding is top, leading, bottom,
/// trailing. Popovers and alerts stand below the element that presents them.
std::string viewText(const ViewNode& tree);

} // namespace quoxelin
