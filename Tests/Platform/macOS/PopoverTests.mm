#include "Platform/macOS/MacPanels.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Platform/macOS/Rows.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// A panel with two rows: one toggles a popover, the other counts its clicks.
class MacPopoverTest : public ::testing::Test {
  protected:
    MacPopoverTest() {
        onScreen.panel->makeKeyAndOrderFront();
        EXPECT_TRUE(comesTrue([&] { return onScreen.panel->isVisible(); }));
        show();
    }

    ViewNode tree() {
        ViewNode column;
        column.width = 260;
        column.children = {row("More",
                               [this] {
                                   isPresented = !isPresented;
                                   show();
                               }),
                           row("Count", [this] { ++count; })};
        if (isPresented) {
            const auto popover = std::make_shared<Popover>();
            popover->content = row("Within", [this] { ++within; });
            // Removes or replaces itself. Its text is too long for a buffer inside the object, so
            // that the sanitizer sees a use after free.
            popover->onDismiss = [this, kept = std::string(100, 'k')] {
                ++dismissals;
                isPresented = isInsistent;
                show();
                EXPECT_EQ(kept.size(), 100u);
            };
            column.children.front().popover = popover;
        }
        return column;
    }

    void show() { onScreen.hosting->setRootView(tree()); }

    void click(NSString* label) {
        QXRow* const target = rowOnScreen(label);
        ASSERT_NE(target, nil);
        sendMouse(NSEventTypeLeftMouseDown, target, middleOf(target));
        sendMouse(NSEventTypeLeftMouseUp, target, middleOf(target));
    }

    int count = 0, within = 0, dismissals = 0;
    bool isPresented = false;
    /// Whether the popover stays in the tree when the user dismisses it.
    bool isInsistent = false;
    MacPanels panels;
    PanelOnScreen onScreen{panels, tree()};
};

} // namespace

TEST_F(MacPopoverTest, opensAndClosesWithItsRow) {
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") == nil; }));
    EXPECT_FALSE(isPresented);
    EXPECT_EQ(dismissals, 1);
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
}

TEST_F(MacPopoverTest, theClickThatClosesItPressesNothing) {
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
    click(@"Count");
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(isPresented);
    click(@"Count");
    EXPECT_EQ(count, 1);
}

TEST_F(MacPopoverTest, staysWhileItsOwnRowsArePressed) {
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
    click(@"Within");
    EXPECT_EQ(within, 1);
    EXPECT_TRUE(isPresented);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(MacPopoverTest, mayReplaceItsHandlerWhenItIsDismissed) {
    isInsistent = true;
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
    click(@"Count");
    EXPECT_EQ(dismissals, 1);
    EXPECT_TRUE(isPresented);
}

TEST_F(MacPopoverTest, closesWithItsWindowWithoutADismissal) {
    click(@"More");
    EXPECT_TRUE(comesTrue([] { return rowOnScreen(@"Within") != nil; }));
    onScreen.panel->orderOut();
    EXPECT_EQ(rowOnScreen(@"Within"), nil);
    EXPECT_EQ(dismissals, 0);
}

} // namespace quoxelin::testing
