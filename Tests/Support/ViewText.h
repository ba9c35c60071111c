#pragma once

#include "View/ViewRecords.h"

#include <string>

namespace quoxelin {

/// The tree as text: one line an element, its children two blanks further in, and on the line all
/// that a person could see of it or hear from a screen reader.
///
///     column width=260
///       row fills padding=6,14,6,14 corner=6 background=gray@0.12 hears "Connect"
///         text "Connect" callout
///         spacer
///
/// Attributes at their defaults are left out; padding is top, leading, bottom, trailing. A pop-over
/// stands below the element that presents it, an alert likewise.
std::string viewText(const ViewNode& tree);

} // namespace quoxelin
