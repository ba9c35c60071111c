#pragma once

#include <span>
#include <string>

namespace quoxelin {

class NSWorkspace;

// Opens addresses given as text with their default handlers. Main thread only.

/// False if the text is not a URL or the workspace does not open it.
bool openURL(NSWorkspace& workspace, const std::string& text);

/// The same for http and https only: a page that a daemon or server names must not start any other
/// program than a browser.
bool openWebPage(NSWorkspace& workspace, const std::string& text);

/// Opens the first address that the workspace accepts, skipping texts that are not URLs. False if
/// none opens.
bool openFirstURL(NSWorkspace& workspace, std::span<const char* const> texts);

} // namespace quoxelin
