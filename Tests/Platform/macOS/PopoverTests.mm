#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/QXRow.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"

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

    static ViewNode row(const std::string& label, std::function<void()> action) {
        ViewNode text;
        text.kind = ViewNode::Kind::text;
        text.text = label;
        ViewNode node;
        node.kind = ViewNode::Kind::row;
        node.padding = {6, 14, 6, 14};
        node.fillsWidth = true;
        node.accessibilityLabel = label;
        node.action = std::move(action);
        node.children = {text};
        return node;
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

    static QXRow* rowIn(NSView* view, NSString* label) {
        if ([view isKindOfClass:[QXRow class]] && [view.accessibilityLabel isEqualToString:label] &&
            view.window.visible)
            return static_cast<QXRow*>(view);
        for (NSView* each in view.subviews)
            if (QXRow* const found = rowIn(each, label))
                return found;
        return nil;
    }

    static QXRow* rowOnScreen(NSString* label) {
        for (NSWindow* window in NSApp.windows)
            if (QXRow* const found = rowIn(window.contentView, label))
                return found;
        return nil;
    }

    /// Sends a mouse event through the main loop.
    void send(NSEventType type, NSView* target) {
        const auto middle = NSMakePoint(NSMidX(target.bounds), NSMidY(target.bounds));
        time += 0.1;
        [NSApp postEvent:[NSEvent mouseEventWithType:type
                                            location:[target convertPoint:middle toView:nil]
                                       modifierFlags:0
                                           timestamp:time
                                        windowNumber:target.window.windowNumber
                                             context:nil
                                         eventNumber:0
                                          clickCount:1
                                            pressure:1]
                 atStart:YES];
        [NSApp sendEvent:[NSApp nextEventMatchingMask:NSEventMaskAny
                                            untilDate:[NSDate date]
                                               inMode:NSDefaultRunLoopMode
                                              dequeue:YES]];
    }

    void click(NSString* label) {
        QXRow* const target = rowOnScreen(label);
        ASSERT_NE(target, nil);
        send(NSEventTypeLeftMouseDown, target);
        send(NSEventTypeLeftMouseUp, target);
    }

    int count = 0, within = 0, dismissals = 0;
    bool isPresented = false;
    /// Whether the popover stays in the tree when the user dismisses it.
    bool isInsistent = false;
    /// The timestamp of the last event. Static, because time must not go back between tests.
    inline static NSTimeInterval time = [NSProcessInfo processInfo].systemUptime;
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
