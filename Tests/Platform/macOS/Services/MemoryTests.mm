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

/// The number of live objects by class. GNUstep's views leak their transforms, and its fonts stay
/// for good from when they are first drawn.
Counts objects() {
    Counts counts;
    for (const Class* each = GSDebugAllocationClassList(); each != nullptr && *each != Nil; ++each)
        counts[class_getName(*each)] = GSDebugAllocationCount(*each);
    counts.erase("NSAffineTransform");
    counts.erase("CairoFontInfo");
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
    // Every state in turn, so popovers and alerts too.
    const auto open = [&](std::size_t times) {
        for (std::size_t i = 0; i < times; ++i)
            @autoreleasepool {
                const auto scene = panelStates()[i % panelStates().size()].scene();
                PanelOnScreen onScreen(panels, scene->tree());
                onScreen.panel->makeKeyAndOrderFront();
                onScreen.panel->orderOut();
                [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate date]];
            }
    };
    open(panelStates().size());
    const auto before = objects();
    open(100);
    const auto once = grownSince(before);
    const auto after = objects();
    open(100);
    // GNUstep keeps some objects that it makes when they are first needed. What leaks grows again.
    auto leaking = grownSince(after);
    std::erase_if(leaking, [&once](const auto& each) { return once.count(each.first) == 0; });
    EXPECT_EQ(leaking, Counts());
}

TEST(MacSystemLog, writesLinesWithAndWithoutAPlace) {
    ::testing::internal::CaptureStderr();
    MacSystemLog log;
    log.log("a line with 100%");
    log.log("com.quoxelin.desktop", "App", "another line");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "os_log -: a line with 100%\n"
              "os_log com.quoxelin.desktop:App: another line\n");
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
