#include "Platform/macOS/MacHostingView.h"
#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacStatusBar.h"
#include "Tests/Support/PanelStates.h"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// The window server answers in its own time.
bool comesTrue(const std::function<bool()>& condition) {
    NSDate* const patience = [NSDate dateWithTimeIntervalSinceNow:5];
    while (!condition() && patience.timeIntervalSinceNow > 0)
        [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode
                              beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
    return condition();
}

struct OpenPanel {
    OpenPanel() {
        hosting->setRootView(panelStates().front().scene()->tree());
        NSVisualEffectView background;
        background.frame = {0, 0, 300, 400};
        background.wantsLayer = true;
        background.subview = hosting;
        panel->setContentView(background);
    }

    MacPanels panels;
    std::shared_ptr<NSHostingView> hosting = panels.makeHostingView();
    std::unique_ptr<NSPanel> panel = panels.makePanel(
        {.contentRect = {0, 0, 300, 400},
         .styleMask = NSWindowStyleMaskNonactivatingPanel | NSWindowStyleMaskFullSizeContentView,
         .backing = NSBackingStoreBuffered,
         .clearBackground = true,
         .opaque = false,
         .hasShadow = true,
         .level = NSFloatingWindowLevel});
};

} // namespace

TEST(MacStatusBar, putsItsItemOnTheScreen) {
    MacStatusBar bar;
    const auto item = bar.statusItemWithLength(NSSquareStatusItemLength);
    ASSERT_NE(item->button(), nullptr);
    item->button()->setTitle("QX");
    EXPECT_TRUE(comesTrue([&] {
        const auto frame = item->button()->frameOnScreen();
        return frame && frame->width > 0 && frame->height > 0;
    }));
}

TEST(MacPanels, openAPanelThatIsAsLargeAsItsContent) {
    OpenPanel open;
    open.panel->makeKeyAndOrderFront();
    EXPECT_TRUE(comesTrue([&] { return open.panel->isVisible(); }));
    EXPECT_EQ(open.panel->frame().width, 260);
    EXPECT_GT(open.panel->frame().height, 100);
}

TEST(MacPanels, tellOnceThatAPanelWasHidden) {
    OpenPanel open;
    int hidden = 0;
    open.panel->setDidOrderOut([&] { ++hidden; });
    open.panel->makeKeyAndOrderFront();
    open.panel->orderOut();
    open.panel->orderOut();
    EXPECT_FALSE(open.panel->isVisible());
    EXPECT_EQ(hidden, 1);
}

} // namespace quoxelin::testing
