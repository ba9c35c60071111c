#include "Platform/macOS/MacHost.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#include <atomic>

namespace quoxelin::testing {

using MacHostTest = ServiceTest;

/// This program has no Info.plist.
TEST_F(MacHostTest, reportsLaterThatThereAreNoUpdates) {
    MacHost host{LaunchOptions{}};
    std::vector<std::string> lines;
    host.observeMissingServices([&lines, kept = keepsake()](const std::string& line) {
        EXPECT_EQ(kept, keepsake());
        EXPECT_TRUE([NSThread isMainThread]);
        lines.push_back(line);
    });
    EXPECT_TRUE(lines.empty());
    ASSERT_TRUE(comesTrue([&] { return lines.size() == 1; }));
    EXPECT_EQ(lines.front().rfind("No updates: ", 0), 0u);
}

TEST_F(MacHostTest, waitsForAnOpenConnectionBeforeItEnds) {
    MacHost host{LaunchOptions{}};
    std::atomic<bool> isInvalidated = false;
    const auto connection = host.platform().xpc.privilegedConnection("com.quoxelin.desktop.Helper");
    connection->setInvalidationHandler([&isInvalidated] { isInvalidated = true; });
    connection->resume();
    constexpr auto aWhile = 200 * NSEC_PER_MSEC;
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, aWhile),
                   dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{
                       connection->invalidate();
                   });
    host.settle();
    EXPECT_TRUE(isInvalidated);
}

} // namespace quoxelin::testing
