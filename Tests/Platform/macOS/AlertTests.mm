#include "Platform/macOS/MacPanels.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"

#include <gtest/gtest.h>
#include <optional>

namespace quoxelin::testing {

namespace {

/// A panel whose alert has two buttons. They record their titles when they are pressed.
class MacAlertTest : public ::testing::Test {
  protected:
    MacAlertTest() {
        onScreen->panel->makeKeyAndOrderFront();
        EXPECT_TRUE(comesTrue([&] { return onScreen->panel->isVisible(); }));
    }

    ViewNode tree(bool hasAlert) {
        ViewNode column;
        column.width = 260;
        column.height = 100;
        if (hasAlert) {
            using Role = Alert::Button::Role;
            const auto alert = std::make_shared<Alert>();
            alert->title = "Uninstall?";
            alert->buttons = {
                {"Remove", Role::destructive, [this] { pressed.push_back("Remove"); }},
                {"Keep", Role::cancel, [this] { pressed.push_back("Keep"); }}};
            column.alert = alert;
        }
        return column;
    }

    void show(bool hasAlert) { onScreen->hosting->setRootView(tree(hasAlert)); }

    static NSWindow* sheet() {
        for (NSWindow* window in NSApp.windows)
            if (window.sheetParent != nil)
                return window;
        return nil;
    }

    static NSButton* button(NSView* view, NSString* title) {
        if ([view isKindOfClass:[NSButton class]] &&
            [static_cast<NSButton*>(view).title isEqualToString:title])
            return static_cast<NSButton*>(view);
        for (NSView* each in view.subviews)
            if (NSButton* const found = button(each, title))
                return found;
        return nil;
    }

    /// Presses a button of the alert, which it waits for.
    void press(NSString* title) {
        ASSERT_TRUE(comesTrue([] { return sheet() != nil; }));
        [button(sheet().contentView, title) performClick:nil];
    }

    /// Waits until the alert is gone and its answer has arrived.
    static bool isGone() {
        if (!comesTrue([] { return sheet() == nil; }))
            return false;
        const auto hasTurned = std::make_shared<bool>(false);
        dispatch_async(dispatch_get_main_queue(), ^{
            *hasTurned = true;
        });
        return comesTrue([hasTurned] { return *hasTurned; });
    }

    std::vector<std::string> pressed;
    MacPanels panels;
    std::optional<PanelOnScreen> onScreen{std::in_place, panels, tree(false)};
};

using Titles = std::vector<std::string>;

} // namespace

TEST_F(MacAlertTest, performsTheActionOfThePressedButton) {
    show(true);
    press(@"Remove");
    EXPECT_TRUE(comesTrue([&] { return pressed == Titles{"Remove"}; }));
    show(false);
    show(true);
    press(@"Keep");
    EXPECT_TRUE(comesTrue([&] { return pressed == (Titles{"Remove", "Keep"}); }));
}

TEST_F(MacAlertTest, performsNothingWhenItIsTakenAway) {
    show(true);
    ASSERT_TRUE(comesTrue([] { return sheet() != nil; }));
    show(false);
    EXPECT_TRUE(isGone());
    EXPECT_EQ(pressed, Titles());
}

TEST_F(MacAlertTest, isTakenAwayWithItsPanel) {
    show(true);
    ASSERT_TRUE(comesTrue([] { return sheet() != nil; }));
    onScreen.reset();
    EXPECT_TRUE(isGone());
    EXPECT_EQ(pressed, Titles());
}

} // namespace quoxelin::testing
