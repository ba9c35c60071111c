#include "Platform/macOS/MacWorkspace.h"

#include "Platform/macOS/ObjC.h"

#import <AppKit/AppKit.h>

namespace quoxelin {

bool MacWorkspace::open(const Url& url) {
    NSURL* const opened = [NSURL URLWithString:toNSString(url.text())];
    return opened != nil && [[::NSWorkspace sharedWorkspace] openURL:opened];
}

void MacWorkspace::openFolder(const std::filesystem::path& folder) {
    if (NSURL* const url = toFileURL(folder))
        [[::NSWorkspace sharedWorkspace] openURL:url];
}

std::optional<std::filesystem::path>
MacWorkspace::urlForApplication(const std::string& bundleIdentifier) const {
    NSURL* const url = [[::NSWorkspace sharedWorkspace]
        URLForApplicationWithBundleIdentifier:toNSString(bundleIdentifier)];
    if (url == nil)
        return std::nullopt;
    return toPath(url);
}

void MacWorkspace::openApplication(const std::filesystem::path& application) {
    if (NSURL* const url = toFileURL(application))
        [[::NSWorkspace sharedWorkspace]
            openApplicationAtURL:url
                   configuration:[NSWorkspaceOpenConfiguration configuration]
               completionHandler:nil];
}

/// The framework throws if it cannot reach the pasteboard server.
void MacPasteboard::clearContents() {
    withoutExceptions([] { [[::NSPasteboard generalPasteboard] clearContents]; });
}

void MacPasteboard::setString(const std::string& text) {
    withoutExceptions([&] {
        [[::NSPasteboard generalPasteboard] setString:toNSString(text)
                                              forType:NSPasteboardTypeString];
    });
}

void MacOpenPanel::begin(
    const NSOpenPanelOptions& options,
    std::function<void(std::optional<std::filesystem::path>)> completionHandler) {
    ::NSOpenPanel* const panel = [::NSOpenPanel openPanel];
    panel.title = toNSString(options.title);
    panel.prompt = toNSString(options.prompt);
    panel.canChooseFiles = options.canChooseFiles;
    panel.canChooseDirectories = options.canChooseDirectories;
    panel.canCreateDirectories = options.canCreateDirectories;
    [panel beginWithCompletionHandler:^(NSModalResponse response) {
        if (response == NSModalResponseOK && panel.URL != nil)
            completionHandler(toPath(panel.URL));
        else
            completionHandler(std::nullopt);
    }];
}

} // namespace quoxelin
