#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacSystemLog.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#import <Foundation/NSDebug.h>
#include <gtest/gtest.h>
#include <map>

namespace quoxelin::testing {

namespace {

using Counts = std::map<std::string, int>;

/// The number of live objects by class. GNUstep's views leak their transforms.
Counts objects() {
    Counts counts;
    for (const Class* each = GSDebugAllocationClassList(); each != nullptr && *each != Nil; ++each)
        if (*each != [NSAffineTransform class])
            counts[class_getName(*each)] = GSDebugAllocationCount(*each);
    return counts;
}

/// The classes with more objects than before.
Counts grownSince(const Counts& before) {
    Counts grown;
    for (const auto& [name, count] : objects()) {
        const auto found = before.find(name);
        const int more = count - (found == before.end() ? 0 : found->second);
        if (more > 0)
            grown[name] = more;
    }
    return grown;
}

class MacMemoryTest : public ::testing::Test {
  protected:
    MacMemoryTest() { GSDebugAllocationActive(YES); }
    ~MacMemoryTest() override { GSDebugAllocationActive(NO); }
};

} // namespace

TEST_F(MacMemoryTest, aHundredOpeningsOfThePanelLeaveNothingBehind) {
    MacPanels panels;
    const auto open = [&](int times) {
        for (int i = 0; i < times; ++i)
            @autoreleasepool {
                PanelOnScreen onScreen(panels, panelStates().front().scene()->tree());
                onScreen.panel->makeKeyAndOrderFront();
                onScreen.panel->orderOut();
                [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate date]];
            }
    };
    open(11);
    const auto before = objects();
    open(100);
    EXPECT_EQ(grownSince(before), Counts());
}

TEST_F(MacMemoryTest, aLineOfTheLogLeavesNothingBehind) {
    MacSystemLog log;
    const auto write = [&](int lines) {
        for (int i = 0; i < lines; ++i) {
            log.log("a line of the log");
            log.log("com.quoxelin.desktop", "App", "another line");
        }
    };
    write(1);
    const auto before = objects();
    write(100);
    EXPECT_EQ(grownSince(before), Counts());
}

} // namespace quoxelin::testing
