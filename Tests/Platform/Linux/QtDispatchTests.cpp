#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/QtTimers.h"
#include "Tests/Platform/Linux/EventLoop.h"

#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace quoxelin::testing {

using Clock = std::chrono::steady_clock;

TEST(QtDispatch, performsMainWorkInOrderOnTheMainThread) {
    QtDispatch dispatch;
    std::string order;
    const auto append = [&](char letter) {
        return [&order, &dispatch, letter] {
            EXPECT_TRUE(dispatch.isMainThread());
            order += letter;
        };
    };
    dispatch.main().async(append('a'));
    std::thread([&] {
        EXPECT_FALSE(dispatch.isMainThread());
        dispatch.main().async(append('b'));
    }).join();
    dispatch.main().async(append('c'));
    EXPECT_EQ(order, "");
    runLoopUntil([&] { return order.size() == 3; });
    EXPECT_EQ(order, "abc");
}

TEST(QtDispatch, defersWorkSubmittedByWorkToALaterTurn) {
    QtDispatch dispatch;
    std::string order;
    dispatch.main().async([&] {
        dispatch.main().async([&] { order += 'c'; });
        order += 'a';
    });
    dispatch.main().async([&] { order += 'b'; });
    runLoopUntil([&] { return order.size() == 3; });
    EXPECT_EQ(order, "abc");
}

TEST(QtDispatch, releasesWorkBeforeTheNextIsPerformed) {
    QtDispatch dispatch;
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> watched = held;
    std::optional<bool> wasReleased;
    dispatch.main().async([held = std::move(held)] {});
    dispatch.main().async([&] { wasReleased = watched.expired(); });
    runLoopUntil([&] { return wasReleased.has_value(); });
    EXPECT_TRUE(*wasReleased);
}

TEST(QtDispatch, handlesOtherEventsDuringAnEndlessChainOfWork) {
    QtDispatch dispatch;
    bool otherEventCame = false;
    std::function<void()> chain = [&] {
        if (!otherEventCame)
            dispatch.main().async(chain);
    };
    chain();
    QMetaObject::invokeMethod(
        qApp, [&] { otherEventCame = true; }, Qt::QueuedConnection);
    runLoopUntil([&] { return otherEventCame; });
    runLoopUntilIdle();
}

TEST(QtDispatch, performsOtherWorkWhileSixtyFourExchangesHang) {
    QtDispatch dispatch;
    const auto open = std::make_shared<std::latch>(1);
    const auto blocked = std::make_shared<std::latch>(64);
    for (int i = 0; i < 64; ++i)
        dispatch.global(QualityOfService::userInitiated).async([=] {
            blocked->count_down();
            open->wait();
        });
    blocked->wait();
    bool mainPerformed = false;
    dispatch.main().async([&] { mainPerformed = true; });
    runLoopUntil([&] { return mainPerformed; });
    EXPECT_TRUE(dispatch.makeSerial("log")->wait(seconds(60)));
    const auto performed = std::make_shared<std::latch>(5);
    for (const auto quality :
         {QualityOfService::userInteractive, QualityOfService::userInitiated,
          QualityOfService::standard, QualityOfService::utility, QualityOfService::background})
        dispatch.global(quality).async([=] { performed->count_down(); });
    performed->wait();
    open->count_down();
}

TEST(QtDispatch, isDestroyedWithoutWaitingForWorkThatNeverEnds) {
    const auto blocked = std::make_shared<std::latch>(2);
    const auto open = std::make_shared<std::latch>(1);
    const auto block = [=] {
        blocked->count_down();
        open->wait();
    };
    {
        QtDispatch dispatch;
        dispatch.global(QualityOfService::background).async(block);
        const auto serial = dispatch.makeSerial("bus");
        serial->async(block);
        blocked->wait();
    }
    open->count_down();
}

TEST(QtDispatch, dropsMainWorkThatStillWaitsWhenTheLoopHasEnded) {
    bool wasPerformed = false;
    const auto held = std::make_shared<int>();
    {
        QtDispatch dispatch;
        dispatch.main().async([&wasPerformed, held] { wasPerformed = true; });
        std::thread([&] {
            dispatch.main().async([&wasPerformed, held] { wasPerformed = true; });
        }).join();
        EXPECT_EQ(held.use_count(), 3);
    }
    runLoopUntilIdle();
    EXPECT_FALSE(wasPerformed);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(QtDispatch, performsDelayedWorkNeverBeforeItsTime) {
    QtDispatch dispatch;
    const auto begin = Clock::now();
    std::optional<Clock::duration> elapsed;
    dispatch.main().asyncAfter(std::chrono::microseconds(2500),
                               [&] { elapsed = Clock::now() - begin; });
    runLoopUntil([&] { return elapsed.has_value(); });
    EXPECT_GE(*elapsed, std::chrono::microseconds(2500));
}

TEST(QtDispatch, acceptsDelayedWorkFromOtherThreads) {
    QtDispatch dispatch;
    bool performed = false;
    std::thread([&] {
        dispatch.main().asyncAfter(std::chrono::milliseconds(1), [&] {
            EXPECT_TRUE(dispatch.isMainThread());
            performed = true;
        });
    }).join();
    runLoopUntil([&] { return performed; });
}

TEST(QtDispatch, performsDelayedWorkInOrderOfTime) {
    QtDispatch dispatch;
    std::string order;
    dispatch.main().asyncAfter(std::chrono::milliseconds(3), [&] { order += 'c'; });
    dispatch.main().asyncAfter(std::chrono::milliseconds(1), [&] { order += 'a'; });
    dispatch.main().asyncAfter(std::chrono::milliseconds(1), [&] { order += 'b'; });
    runLoopUntil([&] { return order.size() == 3; });
    EXPECT_EQ(order, "abc");
}

class QtTimersTest : public ::testing::Test {
  protected:
    QtDispatch dispatch;
    QtTimers timers{dispatch.main()};
};

TEST_F(QtTimersTest, keepNoTimerForCanceledWork) {
    auto item = timers.start(std::chrono::hours(1), [] { FAIL(); });
    EXPECT_EQ(timers.count(), 1u);
    item.cancel();
    EXPECT_EQ(timers.count(), 0u);
}

TEST_F(QtTimersTest, keepNoTimerForWorkThatAnotherThreadCanceled) {
    auto item = timers.start(std::chrono::hours(1), [] { FAIL(); });
    std::thread([&] { item.cancel(); }).join();
    runLoopUntil([&] { return timers.count() == 0; });
}

TEST_F(QtTimersTest, startNoTimerForWorkCanceledBeforeItReachesTheMainThread) {
    std::thread([&] {
        auto item = timers.start(std::chrono::hours(1), [] { FAIL(); });
        item.cancel();
    }).join();
    bool turned = false;
    dispatch.main().async([&] { turned = true; });
    runLoopUntil([&] { return turned; });
    EXPECT_EQ(timers.count(), 0u);
}

TEST_F(QtTimersTest, keepNoTimerForWorkThatWasPerformed) {
    bool performed = false;
    const auto item = timers.start(Duration::zero(), [&] { performed = true; });
    runLoopUntil([&] { return performed; });
    EXPECT_EQ(timers.count(), 0u);
    EXPECT_FALSE(item.isPending());
}

TEST_F(QtTimersTest, waitForDelaysThatNoTimerOfTheToolkitCanExpress) {
    auto longest = timers.start(Duration::max(), [] { FAIL(); });
    auto negative = timers.start(-seconds(1), [] {});
    EXPECT_EQ(timers.count(), 2u);
    runLoopUntil([&] { return !negative.isPending(); });
    EXPECT_TRUE(longest.isPending());
}

TEST(QtTimers, fireOnceTheWholeDelayIsOverIfItTakesSeveralSteps) {
    QtDispatch dispatch;
    QtTimers timers(dispatch.main(), std::chrono::milliseconds(2));
    const auto begin = Clock::now();
    std::vector<Clock::duration> fired;
    const auto item =
        timers.start(std::chrono::milliseconds(15), [&] { fired.push_back(Clock::now() - begin); });
    runLoopUntil([&] { return !item.isPending() && timers.count() == 0; });
    ASSERT_EQ(fired.size(), 1u);
    EXPECT_GE(fired.front(), std::chrono::milliseconds(15));
}

TEST(QtTimers, dropTheirWorkWhenDestroyed) {
    QtDispatch dispatch;
    const auto held = std::make_shared<int>(1);
    std::optional<WorkItem> item;
    {
        QtTimers timers(dispatch.main());
        timers.start(seconds(60), [held] { FAIL(); });
    }
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace quoxelin::testing
