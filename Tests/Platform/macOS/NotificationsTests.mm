#include "Platform/macOS/FrameworkNotifications.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

NSNotificationName const something = @"QXSomethingHappened";

void post() {
    [[NSNotificationCenter defaultCenter] postNotificationName:something object:nil];
}

/// Blocks until the notification is posted.
void postOnAnotherThread() {
    const dispatch_group_t posted = dispatch_group_create();
    dispatch_group_async(posted, dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{
        post();
    });
    dispatch_group_wait(posted, DISPATCH_TIME_FOREVER);
}

} // namespace

TEST(MacFrameworkNotifications, areHandledBeforeThePostReturns) {
    int handled = 0;
    FrameworkNotifications notifications;
    notifications.observe(something, [&, kept = std::string(100, 'k')] {
        EXPECT_EQ(kept, std::string(100, 'k'));
        ++handled;
    });
    post();
    EXPECT_EQ(handled, 1);
}

TEST(MacFrameworkNotifications, fromOtherThreadsAreHandledOnTheMainThread) {
    int handled = 0;
    FrameworkNotifications notifications;
    notifications.observe(something, [&] {
        EXPECT_TRUE([NSThread isMainThread]);
        ++handled;
    });
    postOnAnotherThread();
    EXPECT_EQ(handled, 0);
    EXPECT_TRUE(comesTrue([&] { return handled == 1; }));
}

TEST(MacFrameworkNotifications, areNotHandledAfterDestruction) {
    int handled = 0, last = 0;
    FrameworkNotifications lasting;
    lasting.observe(something, [&] { ++last; });
    {
        FrameworkNotifications notifications;
        notifications.observe(something, [&] { ++handled; });
        postOnAnotherThread();
    }
    post();
    EXPECT_TRUE(comesTrue([&] { return last == 2; }));
    EXPECT_EQ(handled, 0);
}

TEST(MacFrameworkNotifications, keepNothingOfTheirHandlersAfterDestruction) {
    std::weak_ptr<int> captured;
    @autoreleasepool {
        const auto owned = std::make_shared<int>();
        captured = owned;
        FrameworkNotifications notifications;
        notifications.observe(something, [owned] {});
    }
    EXPECT_TRUE(captured.expired());
}

} // namespace quoxelin::testing
