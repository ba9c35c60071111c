#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(VirtualDispatch, runsWorkOfAllQueuesInOrderOfSubmission) {
    VirtualDispatch dispatch;
    std::string order;
    dispatch.main().async([&] { order += 'a'; });
    dispatch.global(QualityOfService::userInitiated).async([&] { order += 'b'; });
    dispatch.main().async([&] { order += 'c'; });
    EXPECT_EQ(order, "");
    dispatch.runUntilIdle();
    EXPECT_EQ(order, "abc");
}

TEST(VirtualDispatch, performsDelayedWorkExactlyOnTime) {
    VirtualDispatch dispatch;
    std::vector<Duration> instants;
    dispatch.main().asyncAfter(seconds(0.3), [&] {
        instants.push_back(dispatch.now());
        dispatch.main().asyncAfter(seconds(0.3), [&] { instants.push_back(dispatch.now()); });
    });
    dispatch.advance(seconds(0.6));
    EXPECT_EQ(instants, (std::vector{seconds(0.3), seconds(0.6)}));
    EXPECT_EQ(dispatch.now(), seconds(0.6));
}

TEST(VirtualDispatch, doesNotPerformCanceledWork) {
    VirtualDispatch dispatch;
    bool done = false;
    auto item = dispatch.main().asyncAfter(seconds(1), [&] { done = true; });
    item.cancel();
    EXPECT_FALSE(dispatch.nextInstant().has_value());
    dispatch.advance(seconds(2));
    EXPECT_FALSE(done);
}

TEST(VirtualDispatch, letsBlockedBackgroundWorkSleepWhileOthersRun) {
    VirtualDispatch dispatch;
    const auto serial = dispatch.makeSerial("loop");
    std::vector<Duration> instants;
    serial->async([&] {
        for (;;) {
            EXPECT_FALSE(dispatch.isMainThread());
            instants.push_back(dispatch.now());
            dispatch.sleep(seconds(3));
        }
    });
    serial->async([] { FAIL() << "the queue is occupied for ever"; });
    dispatch.advance(seconds(7));
    EXPECT_EQ(instants, (std::vector{seconds(0), seconds(3), seconds(6)}));
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 1u);
}

TEST(VirtualDispatch, resumesWorkThatWaitsWhenItsConditionComesTrue) {
    VirtualDispatch dispatch;
    bool open = false, passed = false;
    dispatch.global(QualityOfService::standard).async([&] {
        dispatch.waitUntil([&] { return open; });
        passed = true;
    });
    dispatch.advance(seconds(5));
    EXPECT_FALSE(passed);
    open = true;
    dispatch.runUntilIdle();
    EXPECT_TRUE(passed);
}

TEST(VirtualDispatch, unwindsBlockedWorkWhenDestroyed) {
    auto guard = std::make_shared<int>(1);
    {
        VirtualDispatch dispatch;
        dispatch.global(QualityOfService::standard).async([&dispatch, guard] {
            dispatch.waitUntil([] { return false; });
        });
        dispatch.runUntilIdle();
        EXPECT_EQ(guard.use_count(), 2);
    }
    EXPECT_EQ(guard.use_count(), 1);
}

TEST(VirtualDispatch, refusesToBlockTheMainThread) {
    VirtualDispatch dispatch;
    EXPECT_THROW(dispatch.sleep(seconds(1)), std::logic_error);
}

TEST(VirtualDispatch, syncReturnsAfterAllEarlierWorkHasRun) {
    VirtualDispatch dispatch;
    const auto serial = dispatch.makeSerial("writer");
    std::string order;
    serial->async([&] { order += 'a'; });
    serial->sync([&] { order += 'b'; });
    EXPECT_EQ(order, "ab");
}

} // namespace quoxelin::testing
