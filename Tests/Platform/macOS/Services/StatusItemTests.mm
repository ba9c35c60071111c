#include "Platform/macOS/MacStatusBar.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"
#import "Tests/Platform/macOS/Stage/StageAppKit.h"

namespace quoxelin::testing {

using MacStatusItemTest = ServiceTest;

TEST_F(MacStatusItemTest, keepsAnActionThatReplacesItselfUntilItReturns) {
    MacStatusBar bar;
    const auto item = bar.statusItemWithLength(NSSquareStatusItemLength);
    int one = 0, other = 0;
    item->button()->setAction([&, kept = keepsake()] {
        item->button()->setAction([&other] { ++other; });
        EXPECT_EQ(kept, keepsake());
        ++one;
    });
    [stage::statusButton() mouseDown:nil];
    EXPECT_EQ(one, 1);
    [stage::statusButton() mouseDown:nil];
    EXPECT_EQ(one, 1);
    EXPECT_EQ(other, 1);
}

TEST_F(MacStatusItemTest, reportsItsPlaceWhereverItsButtonLiesInTheWindow) {
    MacStatusBar bar;
    const auto item = bar.statusItemWithLength(NSSquareStatusItemLength);
    const auto before = item->button()->frameOnScreen();
    ASSERT_TRUE(before);
    ::NSStatusBarButton* const button = stage::statusButton();
    NSView* const around = [[NSView alloc] initWithFrame:NSMakeRect(7, 3, 100, 100)];
    [button.window.contentView addSubview:around];
    [around addSubview:button];
    const auto after = item->button()->frameOnScreen();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->x, before->x + 7);
    EXPECT_EQ(after->y, before->y + 3);
    EXPECT_EQ(after->width, before->width);
    EXPECT_EQ(after->height, before->height);
}

} // namespace quoxelin::testing
