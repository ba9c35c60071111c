#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacQuitSignals.h"
#include "Platform/macOS/MacStatusBar.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quoxelin::testing {

namespace {

struct OpenPanel : PanelOnScreen {
    explicit OpenPanel(MacPanels& panels)
        : PanelOnScreen(panels, panelStates().front().scene()->tree()) {}
};

bool hasToolTip(NSView* view, NSString* text) {
    if ([view.toolTip isEqualToString:text])
        return true;
    for (NSView* part in view.subviews)
        if (hasToolTip(part, text))
            return true;
    return false;
}

NSWindow* shownPanel() {
    for (NSWindow* window in NSApp.windows)
        if (window.visible && [window isKindOfClass:NSClassFromString(@"QXPanel")])
            return window;
    return nil;
}

/// Whether a view in one of this program's windows on the screen has that tool tip.
bool isShownAsToolTip(NSString* text) {
    for (NSWindow* window in NSApp.windows)
        if (window.visible && hasToolTip(window.contentView, text))
            return true;
    return false;
}

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

TEST(MacStatusBar, showsTheItemsToolTip) {
    MacStatusBar bar;
    const auto item = bar.statusItemWithLength(NSSquareStatusItemLength);
    item->button()->setToolTip("Quoxelin: Connected");
    EXPECT_TRUE(isShownAsToolTip(@"Quoxelin: Connected"));
    item->button()->setToolTip("Quoxelin");
    EXPECT_FALSE(isShownAsToolTip(@"Quoxelin: Connected"));
    EXPECT_TRUE(isShownAsToolTip(@"Quoxelin"));
}

TEST(MacStatusBar, takesAnItemAwayThatIsDestroyed) {
    MacStatusBar bar;
    bar.statusItemWithLength(NSSquareStatusItemLength)->button()->setToolTip("Quoxelin: Gone");
    EXPECT_FALSE(isShownAsToolTip(@"Quoxelin: Gone"));
}

TEST(MacPanels, openAPanelInTheSizeOfItsContent) {
    MacPanels panels;
    OpenPanel open(panels);
    open.panel->makeKeyAndOrderFront();
    EXPECT_TRUE(comesTrue([&] { return open.panel->isVisible(); }));
    EXPECT_EQ(open.panel->frame().width, 260);
    EXPECT_GT(open.panel->frame().height, 100);
}

TEST(MacPanels, reportOnceThatAPanelWasHidden) {
    MacPanels panels;
    OpenPanel open(panels);
    int hidden = 0;
    open.panel->setDidOrderOut([&] { ++hidden; });
    open.panel->makeKeyAndOrderFront();
    open.panel->orderOut();
    open.panel->orderOut();
    EXPECT_FALSE(open.panel->isVisible());
    EXPECT_EQ(hidden, 1);
}

TEST(MacPanels, reportThatThePanelWasHiddenWithItsApplication) {
    MacPanels panels;
    OpenPanel open(panels);
    int hidden = 0;
    open.panel->setDidOrderOut([&] { ++hidden; });
    open.panel->makeKeyAndOrderFront();
    [[NSNotificationCenter defaultCenter] postNotificationName:NSApplicationDidHideNotification
                                                        object:NSApp];
    EXPECT_EQ(hidden, 1);
    EXPECT_FALSE(open.panel->isVisible());
}

TEST(MacPanels, keepAHandlerThatReplacesItselfUntilItReturns) {
    MacPanels panels;
    OpenPanel open(panels);
    std::size_t length = 0;
    open.panel->setDidOrderOut([&, kept = std::string(100, 'k')] {
        open.panel->setDidOrderOut(nullptr);
        length = kept.size();
    });
    open.panel->makeKeyAndOrderFront();
    open.panel->orderOut();
    EXPECT_EQ(length, 100u);
}

TEST(MacPanels, takeAPanelAwayThatIsDestroyedWithoutReportingIt) {
    MacPanels panels;
    int hidden = 0;
    std::shared_ptr<NSHostingView> content;
    @autoreleasepool {
        OpenPanel open(panels);
        content = open.hosting;
        open.panel->setDidOrderOut([&] { ++hidden; });
        open.panel->makeKeyAndOrderFront();
        ASSERT_NE(shownPanel(), nil);
    }
    EXPECT_EQ(shownPanel(), nil);
    EXPECT_EQ(hidden, 0);
    // No longer has a panel to resize.
    content->setRootView({});
}

TEST(MacPanels, followTheSizeOfTheirContent) {
    MacPanels panels;
    OpenPanel open(panels);
    open.panel->makeKeyAndOrderFront();
    NSWindow* const shown = shownPanel();
    ViewNode tall;
    tall.width = 260;
    tall.height = shown.frame.size.height + 100;
    open.hosting->setRootView(tall);
    EXPECT_EQ(shown.frame.size.height, *tall.height);
}

TEST(MacQuitSignals, areForgottenAfterDestruction) {
    int quits = 0;
    std::vector<std::unique_ptr<MacQuitSignals>> all;
    for (int i = 0; i < 10; ++i)
        all.push_back(std::make_unique<MacQuitSignals>([&, kept = std::string(100, 'k')] {
            all.clear();
            ++quits;
            EXPECT_EQ(kept.size(), 100u);
        }));
    ::raise(SIGTERM);
    ASSERT_TRUE(comesTrue([&] { return quits > 0; }));
    bool hasTurned = false;
    bool* const turned = &hasTurned;
    dispatch_async(dispatch_get_main_queue(), ^{
        *turned = true;
    });
    EXPECT_TRUE(comesTrue([&] { return hasTurned; }));
    EXPECT_EQ(quits, 1);
}

TEST(MacQuitSignals, arriveOnTheMainThread) {
    int quits = 0;
    // Too long for a buffer inside the object, so that the sanitizer sees a use after free.
    const MacQuitSignals signals([&quits, kept = std::string(100, 'k')] {
        EXPECT_EQ(kept.size(), 100u);
        EXPECT_TRUE([NSThread isMainThread]);
        ++quits;
    });
    for (const int number : {SIGTERM, SIGINT}) {
        const int before = quits;
        ::raise(number);
        EXPECT_EQ(quits, before);
        EXPECT_TRUE(comesTrue([&] { return quits == before + 1; }));
    }
}

} // namespace quoxelin::testing
