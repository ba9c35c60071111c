#include "Base/NotificationCenter.h"
#include "Platform/macOS/MacApplication.h"
#include "Platform/macOS/MacQuitSignals.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import <AppKit/AppKit.h>
#include <csignal>

namespace quoxelin::testing {

namespace {

class Delegate final : public NSApplicationDelegate {
  public:
    void applicationDidFinishLaunching() override {}
    void applicationWillTerminate() override { ++terminations; }

    int terminations = 0;
};

/// Quits while one dialog, or one on top of another, runs in a modal loop.
class MacQuitTest : public ServiceTest {
  protected:
    MacQuitTest() {
        [[NSNotificationCenter defaultCenter]
            postNotificationName:NSApplicationWillFinishLaunchingNotification
                          object:NSApp];
    }

    using Quit = void (*)(MacApplication&);
    using Open = void (*)(void (^open)(void));

    static void onMainQueue(void (^open)(void)) { dispatch_async(dispatch_get_main_queue(), open); }
    static void byEvent(void (^open)(void)) {
        CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, open);
        CFRunLoopWakeUp(CFRunLoopGetMain());
    }

    /// Runs the application, opens that many dialogs and quits. Returns how many ended by that.
    int dialogsEnded(int count, Open opened, Quit quit) {
        opened(^{
            openDialogs(count, quit);
        });
        ended = 0;
        Delegate delegate;
        EXPECT_EQ(application.run(delegate), 0);
        EXPECT_EQ(delegate.terminations, 1);
        EXPECT_EQ(NSApp.modalWindow, nil);
        return ended;
    }

  private:
    /// Opens a dialog, and while it runs the others.
    void openDialogs(int count, Quit quit) {
        ::NSPanel* const dialog =
            [[::NSPanel alloc] initWithContentRect:NSMakeRect(100, 100, 200, 100)
                                         styleMask:NSWindowStyleMaskBorderless
                                           backing:NSBackingStoreBuffered
                                             defer:NO];
        dialog.releasedWhenClosed = NO;
        NSTimer* const next = modalTimer(0.05, ^{
            if (count > 1)
                openDialogs(count - 1, quit);
            else
                quit(application);
        });
        NSTimer* const patience = modalTimer(5, ^{
            ADD_FAILURE() << "the dialog did not end";
            [NSApp terminate:nil];
        });
        if ([NSApp runModalForWindow:dialog] == NSModalResponseStop)
            ++ended;
        [dialog orderOut:nil];
        [next invalidate];
        [patience invalidate];
    }

    static NSTimer* modalTimer(NSTimeInterval delay, void (^work)(void)) {
        NSTimer* const timer = [NSTimer timerWithTimeInterval:delay
                                                      repeats:NO
                                                        block:^(NSTimer*) {
                                                            work();
                                                        }];
        [[NSRunLoop mainRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
        return timer;
    }

    NotificationCenter center;
    MacApplication application{center};
    MacQuitSignals signals{[this] { application.terminate(); }};
    int ended = 0;
};

struct Way {
    const char* name;
    void (*quit)(MacApplication& application);
};

const Way ways[] = {
    {"terminate", [](MacApplication& application) { application.terminate(); }},
    {"menu", [](MacApplication&) { [NSApp sendAction:@selector(terminate:) to:nil from:nil]; }},
    {"quitEvent",
     [](MacApplication&) {
         EXPECT_TRUE(stage::sendEvent(kCoreEventClass, kAEQuitApplication,
                                      [[NSAppleEventDescriptor alloc] init]));
     }},
    {"signal", [](MacApplication&) { ::raise(SIGTERM); }},
};

class MacQuitTestOf : public MacQuitTest, public ::testing::WithParamInterface<Way> {};

} // namespace

TEST_P(MacQuitTestOf, endsADialogThatAnEventHasOpened) {
    EXPECT_EQ(dialogsEnded(1, byEvent, GetParam().quit), 1);
}

TEST_P(MacQuitTestOf, endsADialogThatABlockOnTheMainQueueHasOpened) {
    EXPECT_EQ(dialogsEnded(1, onMainQueue, GetParam().quit), 1);
}

TEST_P(MacQuitTestOf, endsADialogOnTopOfAnother) {
    EXPECT_EQ(dialogsEnded(2, byEvent, GetParam().quit), 2);
    EXPECT_EQ(dialogsEnded(2, onMainQueue, GetParam().quit), 2);
}

INSTANTIATE_TEST_SUITE_P(EveryWay, MacQuitTestOf, ::testing::ValuesIn(ways),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace quoxelin::testing
