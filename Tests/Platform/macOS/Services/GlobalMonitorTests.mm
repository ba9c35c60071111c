#include "Platform/macOS/MacPanels.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"
#import "Tests/Platform/macOS/Stage/StageAppKit.h"

namespace quoxelin::testing {

using MacGlobalMonitorTest = ServiceTest;

TEST_F(MacGlobalMonitorTest, hearsPressesInOtherProgramsUntilItIsCanceled) {
    MacPanels panels;
    int presses = 0;
    auto monitor = panels.addGlobalMonitorForEvents(
        NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown, [&presses, kept = keepsake()] {
            EXPECT_EQ(kept, keepsake());
            ++presses;
        });
    stage::sendGlobalEvent(::NSEventMaskLeftMouseDown);
    stage::sendGlobalEvent(::NSEventMaskRightMouseDown);
    EXPECT_EQ(presses, 2);
    monitor.cancel();
    stage::sendGlobalEvent(::NSEventMaskLeftMouseDown);
    EXPECT_EQ(presses, 2);
}

} // namespace quoxelin::testing
