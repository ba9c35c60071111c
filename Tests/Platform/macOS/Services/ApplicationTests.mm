#include "Base/NotificationCenter.h"
#include "Platform/macOS/MacApplication.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import <AppKit/AppKit.h>

namespace quoxelin::testing {

namespace {

/// Records the calls.
class Delegate final : public NSApplicationDelegate {
  public:
    void applicationDidFinishLaunching() override { events.push_back("launched"); }

    void applicationWillTerminate() override { events.push_back("terminating"); }

    std::vector<std::string> events;
};

class MacApplicationTest : public ServiceTest {
  protected:
    MacApplicationTest() {
        [[NSNotificationCenter defaultCenter]
            postNotificationName:NSApplicationWillFinishLaunchingNotification
                          object:NSApp];
    }

    /// Schedules the work; the program has already called `finishLaunching`.
    static void whenItRuns(void (^work)(void)) { dispatch_async(dispatch_get_main_queue(), work); }

    NotificationCenter center;
    MacApplication application{center};
};

using Events = std::vector<std::string>;

} // namespace

TEST_F(MacApplicationTest, runsUntilItIsTerminated) {
    Delegate delegate;
    whenItRuns(^{
        application.terminate();
    });
    EXPECT_EQ(application.run(delegate), 0);
    EXPECT_EQ(delegate.events.back(), "terminating");
    EXPECT_EQ(NSApp.delegate, nil);
}

TEST_F(MacApplicationTest, runsNoLongerThanATurnIfItWasTerminatedBefore) {
    Delegate delegate;
    application.terminate();
    EXPECT_EQ(application.run(delegate), 0);
    EXPECT_EQ(delegate.events.back(), "terminating");
}

TEST_F(MacApplicationTest, answersTheQuitEventOfALogout) {
    Delegate delegate;
    whenItRuns(^{
        EXPECT_TRUE(stage::sendEvent(kCoreEventClass, kAEQuitApplication,
                                     [[NSAppleEventDescriptor alloc] init]));
    });
    EXPECT_EQ(application.run(delegate), 0);
    EXPECT_EQ(delegate.events.back(), "terminating");
}

TEST_F(MacApplicationTest, quitsByTheStandardAction) {
    Delegate delegate;
    whenItRuns(^{
        [NSApp sendAction:@selector(terminate:) to:nil from:nil];
    });
    EXPECT_EQ(application.run(delegate), 0);
}

TEST_F(MacApplicationTest, reportsWhenItBecomesActive) {
    int times = 0;
    const auto observer = center.addObserver(NSApplicationDidBecomeActiveNotification,
                                             [&](const Notification&) { ++times; });
    [[NSNotificationCenter defaultCenter]
        postNotificationName:(::NSApplicationDidBecomeActiveNotification)
                      object:NSApp];
    EXPECT_EQ(times, 1);
}

TEST_F(MacApplicationTest, makesTheMainMenu) {
    int checks = 0;
    bool canCheck = false;
    NSMenuItem check{"Check for Updates...", "checkForUpdates:", [&] { ++checks; }, ""};
    check.isEnabled = [&] { return canCheck; };
    application.setMainMenu({{"About", "orderFrontStandardAboutPanel:", nullptr, ""},
                             check,
                             {},
                             {"Quit", "terminate:", nullptr, "q"}});
    NSMenu* const menu = [[NSApp.mainMenu itemAtIndex:0] submenu];
    ASSERT_EQ(menu.numberOfItems, 4);
    EXPECT_TRUE([[menu itemAtIndex:2] isSeparatorItem]);
    ::NSMenuItem* const quit = static_cast<::NSMenuItem*>([menu itemAtIndex:3]);
    EXPECT_TRUE([quit.keyEquivalent isEqualToString:@"q"]);
    EXPECT_EQ(quit.target, nil);

    [menu update];
    EXPECT_FALSE([[menu itemAtIndex:1] isEnabled]);
    canCheck = true;
    [menu update];
    EXPECT_TRUE([[menu itemAtIndex:1] isEnabled]);
    [menu performActionForItemAtIndex:1];
    EXPECT_EQ(checks, 1);
}

} // namespace quoxelin::testing
