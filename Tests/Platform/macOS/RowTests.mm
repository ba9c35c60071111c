#include "Platform/macOS/MacPanels.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Platform/macOS/Rows.h"

#include <gtest/gtest.h>

/// GNUstep's headers lack it.
@interface QXRow (Accessibility)
- (BOOL)accessibilityPerformPress;
@end

namespace quoxelin::testing {

namespace {

using Texts = std::vector<std::string>;

/// A panel with three rows. The first one reports presses and the pointer.
class MacRowTest : public ::testing::Test {
  protected:
    MacRowTest() {
        onScreen.panel->makeKeyAndOrderFront();
        EXPECT_TRUE(comesTrue([&] { return rowOnScreen(@"Connect") != nil; }));
    }

    ViewNode tree() {
        // Their texts are too long for a buffer inside the object, so that the sanitizer sees a use
        // after free.
        auto connect = row("Connect", [this, kept = std::string(100, 'k')] {
            show();
            EXPECT_EQ(kept.size(), 100u);
            events.push_back("pressed");
        });
        connect.onHover = [this, kept = std::string(100, 'k')](bool isHovered) {
            if (isRedrawn)
                show();
            EXPECT_EQ(kept.size(), 100u);
            events.push_back(isHovered ? "entered" : "left");
        };
        connect.disabled = isDisabled;
        connect.accessibilityDescription = "to the nearest server";
        connect.hasPopover = true;
        if (isPresented)
            connect.popover = std::make_shared<Popover>(Popover{row("Within", [] {}), [] {}});
        ViewNode column;
        column.width = 260;
        column.children = {row("Above", [] {}), connect, row("Below", [] {})};
        return column;
    }

    void show() { onScreen.hosting->setRootView(tree()); }

    static QXRow* connect() { return rowOnScreen(@"Connect"); }

    static void type(unichar character) {
        NSString* const text = [NSString stringWithCharacters:&character length:1];
        [connect().window sendEvent:[NSEvent keyEventWithType:NSEventTypeKeyDown
                                                           location:NSZeroPoint
                                                      modifierFlags:0
                                                          timestamp:0
                                                       windowNumber:connect().window.windowNumber
                                                            context:nil
                                                         characters:text
                                        charactersIgnoringModifiers:text
                                                          isARepeat:NO
                                                            keyCode:0]];
    }

    static NSEvent* pointer(NSEventType type) {
        return [NSEvent enterExitEventWithType:type
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:connect().window.windowNumber
                                       context:nil
                                   eventNumber:0
                                trackingNumber:0
                                      userData:nullptr];
    }

    Texts events;
    bool isDisabled = false, isPresented = false;
    /// Whether the pointer changes the panel.
    bool isRedrawn = false;
    MacPanels panels;
    PanelOnScreen onScreen{panels, tree()};
};

} // namespace

TEST_F(MacRowTest, isPressedByAClickWithinIt) {
    sendMouse(NSEventTypeLeftMouseDown, connect(), middleOf(connect()));
    EXPECT_EQ(events, Texts());
    sendMouse(NSEventTypeLeftMouseUp, connect(), NSMakePoint(10, -10));
    EXPECT_EQ(events, Texts());
    sendMouse(NSEventTypeLeftMouseDown, connect(), middleOf(connect()));
    sendMouse(NSEventTypeLeftMouseUp, connect(), middleOf(connect()));
    EXPECT_EQ(events, Texts{"pressed"});
}

TEST_F(MacRowTest, takesTheClicksOnItsTextEvenWhileAnotherProgramIsActive) {
    NSView* const superview = connect().superview;
    const auto onText = NSMakePoint(NSMinX(connect().frame) + 20, NSMidY(connect().frame));
    EXPECT_EQ([superview hitTest:[superview convertPoint:onText toView:superview.superview]],
              connect());
    EXPECT_TRUE([connect() acceptsFirstMouse:nil]);
}

TEST_F(MacRowTest, isPressedByTheKeysOfAButton) {
    ASSERT_TRUE([connect().window makeFirstResponder:connect()]);
    type(NSCarriageReturnCharacter);
    type(NSEnterCharacter);
    type(' ');
    EXPECT_EQ(events, (Texts{"pressed", "pressed", "pressed"}));
    type('x');
    EXPECT_EQ(events.size(), 3u);
}

TEST_F(MacRowTest, passesTheFocusOnWithTheArrows) {
    [connect().window recalculateKeyViewLoop];
    ASSERT_TRUE([connect().window makeFirstResponder:connect()]);
    type(NSDownArrowFunctionKey);
    EXPECT_EQ(connect().window.firstResponder, rowOnScreen(@"Below"));
    type(NSUpArrowFunctionKey);
    EXPECT_EQ(connect().window.firstResponder, connect());
    type(NSUpArrowFunctionKey);
    EXPECT_EQ(connect().window.firstResponder, rowOnScreen(@"Above"));
}

TEST_F(MacRowTest, doesNothingAndLosesTheFocusWhileItIsDisabled) {
    ASSERT_TRUE([connect().window makeFirstResponder:connect()]);
    isDisabled = true;
    show();
    EXPECT_NE(connect().window.firstResponder, connect());
    EXPECT_FALSE(connect().acceptsFirstResponder);
    EXPECT_FALSE(connect().canBecomeKeyView);
    EXPECT_FALSE(connect().accessibilityEnabled);
    EXPECT_FALSE([connect() accessibilityPerformPress]);
    EXPECT_EQ(events, Texts());
    isDisabled = false;
    show();
    EXPECT_TRUE(connect().acceptsFirstResponder);
    EXPECT_TRUE(connect().canBecomeKeyView);
    EXPECT_TRUE(connect().accessibilityEnabled);
}

TEST_F(MacRowTest, isAButtonForAssistiveTechnology) {
    EXPECT_TRUE(connect().accessibilityElement);
    EXPECT_TRUE([connect().accessibilityRole isEqualToString:NSAccessibilityButtonRole]);
    EXPECT_TRUE([connect().accessibilityHelp isEqualToString:@"to the nearest server"]);
    EXPECT_FALSE(connect().accessibilityExpanded);
    isPresented = true;
    show();
    EXPECT_TRUE(connect().accessibilityExpanded);
    EXPECT_TRUE([connect() accessibilityPerformPress]);
    EXPECT_EQ(events, Texts{"pressed"});
}

TEST_F(MacRowTest, reportsThePointerOnce) {
    isRedrawn = true;
    [connect() mouseEntered:pointer(NSEventTypeMouseEntered)];
    [connect() mouseEntered:pointer(NSEventTypeMouseEntered)];
    [connect() mouseExited:pointer(NSEventTypeMouseExited)];
    [connect() mouseExited:pointer(NSEventTypeMouseExited)];
    EXPECT_EQ(events, (Texts{"entered", "left"}));
}

TEST_F(MacRowTest, isLeftByThePointerWhenItsPanelHides) {
    [connect() mouseEntered:pointer(NSEventTypeMouseEntered)];
    onScreen.panel->orderOut();
    EXPECT_EQ(events, (Texts{"entered", "left"}));
}

TEST_F(MacRowTest, isLeftByThePointerWhenItIsRemoved) {
    [connect() mouseEntered:pointer(NSEventTypeMouseEntered)];
    onScreen.hosting->setRootView({});
    EXPECT_EQ(events, (Texts{"entered", "left"}));
}

} // namespace quoxelin::testing
