#pragma once

#include <span>
#include <string>

namespace quoxelin {

class NSWorkspace;

// Addresses as texts, opened with their default handlers. Main thread only.

/// False when the text is no URL, or the workspace does not open it.
bool openURL(NSWorkspace& workspace, const std::string& text);

/// Opens the first that the workspace opens; those that are no URLs are passed over. False when
/// none opens.
bool openFirstURL(NSWorkspace& workspace, std::span<const char* const> texts);

} // namespace quoxelin
