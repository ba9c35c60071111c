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

} // namespace quoxelin::testing
