#include "Runner/Shared/OpenURL.h"

#include "Base/AsciiCase.h"
#include "Base/Url.h"
#include "Platform/NSWorkspace.h"

#include <algorithm>

namespace quoxelin {

bool openURL(NSWorkspace& workspace, const std::string& text) {
    const auto url = Url::parse(text);
    return url && workspace.open(*url);
}

bool openWebPage(NSWorkspace& workspace, const std::string& text) {
    const auto url = Url::parse(text);
    const auto scheme = url ? url->scheme() : "";
    const bool isWeb =
        equalIgnoringAsciiCase(scheme, "https") || equalIgnoringAsciiCase(scheme, "http");
    return isWeb && workspace.open(*url);
}

bool openFirstURL(NSWorkspace& workspace, std::span<const char* const> texts) {
    return std::any_of(texts.begin(), texts.end(),
                       [&](const char* text) { return openURL(workspace, text); });
}

} // namespace quoxelin
