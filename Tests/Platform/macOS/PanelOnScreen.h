#pragma once

#include "Platform/macOS/MacPanels.h"
#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>
#include <functional>
#include <memory>

namespace quoxelin::testing {

/// Waits up to five seconds, because the window server answers asynchronously.
inline bool comesTrue(const std::function<bool()>& condition) {
    NSDate* const patience = [NSDate dateWithTimeIntervalSinceNow:5];
    while (!condition() && patience.timeIntervalSinceNow > 0)
        [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode
                              beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
    return condition();
}

/// A panel with the application's settings, initially hidden.
struct PanelOnScreen {
    PanelOnScreen(MacPanels& panels, const ViewNode& tree)
        : hosting(panels.makeHostingView()),
          panel(panels.makePanel({.contentRect = {0, 0, 300, 400},
                                  .styleMask = NSWindowStyleMaskNonactivatingPanel |
                                               NSWindowStyleMaskFullSizeContentView,
                                  .backing = NSBackingStoreBuffered,
                                  .clearBackground = true,
                                  .opaque = false,
                                  .hasShadow = true,
                                  .level = NSFloatingWindowLevel})) {
        hosting->setRootView(tree);
        NSVisualEffectView background;
        background.frame = {0, 0, 300, 400};
        background.wantsLayer = true;
        background.subview = hosting;
        panel->setContentView(background);
    }

    std::shared_ptr<NSHostingView> hosting;
    std::unique_ptr<NSPanel> panel;
};

} // namespace quoxelin::testing
