#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacQuitSignals.h"
#include "Platform/macOS/MacStatusBar.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <csignal>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

struct OpenPanel : PanelOnScreen {
    explicit OpenPanel(MacPanels& panels)
        : PanelOnScreen(panels, panelStates().front().scene()->tree()) {}
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

TEST(MacQuitSignals, arriveOnTheMainThread) {
    int quits = 0;
    const MacQuitSignals signals([&] {
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
