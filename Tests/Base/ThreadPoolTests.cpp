#include "Base/ThreadPool.h"

#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <semaphore>
#include <thread>

namespace quoxelin::testing {

namespace {

using namespace std::chrono_literals;

/// Counts down when the thread that made it ends.
class ThreadEnd {
  public:
    explicit ThreadEnd(std::shared_ptr<std::latch> ended) : ended(std::move(ended)) {}
    ~ThreadEnd() { ended->count_down(); }

  private:
    std::shared_ptr<std::latch> ended;
};

} // namespace

TEST(ThreadPool, givesWorkAThreadWhileAllOthersAreBlocked) {
    ThreadPool pool(64, 1h);
    const auto open = std::make_shared<std::latch>(1);
    const auto blocked = std::make_shared<std::latch>(63);
    for (int i = 0; i < 63; ++i)
        pool.async([=] {
            blocked->count_down();
            open->wait();
        });
    blocked->wait();

    std::binary_semaphore performed(0);
    pool.async([&] { performed.release(); });
    performed.acquire();
    open->count_down();
}

TEST(ThreadPool, growsNoFurtherThanItsLimit) {
    ThreadPool pool(2, 1h);
    const auto open = std::make_shared<std::latch>(1);
    const auto blocked = std::make_shared<std::latch>(2);
    for (int i = 0; i < 2; ++i)
        pool.async([=] {
            blocked->count_down();
            open->wait();
        });
    blocked->wait();

    std::binary_semaphore performed(0);
    pool.async([&] { performed.release(); });
    EXPECT_EQ(pool.threadCount(), 2u);
    EXPECT_FALSE(performed.try_acquire());
    open->count_down();
    performed.acquire();
    EXPECT_LE(pool.threadCount(), 2u);
}

TEST(ThreadPool, performsWorkInTheOrderOfItsSubmissionWhereOneThreadHasToDoAll) {
    ThreadPool pool(1, 1h);
    std::string order;
    std::binary_semaphore performed(0);
    pool.async([&] { order += 'a'; });
    pool.async([&] { order += 'b'; });
    pool.async([&] {
        order += 'c';
        performed.release();
    });
    performed.acquire();
    EXPECT_EQ(order, "abc");
}

TEST(ThreadPool, letsThreadsLeaveThatHaveNothingToDo) {
    ThreadPool pool(64, 1ms);
    const auto ended = std::make_shared<std::latch>(8);
    for (int i = 0; i < 8; ++i) {
        std::binary_semaphore performed(0);
        pool.async([&] {
            thread_local std::unique_ptr<ThreadEnd> end;
            if (end)
                ended->count_down(); // served by a thread that waited: it ends only once
            else
                end = std::make_unique<ThreadEnd>(ended);
            performed.release();
        });
        performed.acquire();
    }
    ended->wait();
    EXPECT_EQ(pool.threadCount(), 0u);
}

TEST(ThreadPool, comesBackToLifeAfterAllThreadsLeft) {
    ThreadPool pool(64, 0ms);
    for (int i = 0; i < 3; ++i) {
        const auto ended = std::make_shared<std::latch>(1);
        pool.async([&] { thread_local ThreadEnd end(ended); });
        ended->wait();
        EXPECT_EQ(pool.threadCount(), 0u);
    }
}

TEST(ThreadPool, performsWhatWasSubmittedBeforeItWent) {
    const auto open = std::make_shared<std::latch>(1);
    const auto performed = std::make_shared<std::latch>(1);
    {
        ThreadPool pool(1, 1h);
        pool.async([=] { open->wait(); });
        pool.async([=] { performed->count_down(); });
    }
    open->count_down();
    performed->wait();
}

TEST(ThreadPool, sendsItsIdleThreadsAwayWhenItGoes) {
    const auto ended = std::make_shared<std::latch>(1);
    {
        ThreadPool pool(1, 1h);
        pool.async([=] { thread_local ThreadEnd end(ended); });
    }
    ended->wait();
}

TEST(ThreadPool, releasesWhatWorkHeldWithoutWaitingForTheNext) {
    ThreadPool pool(1, 1h);
    const auto released = std::make_shared<std::latch>(1);
    pool.async([end = std::make_shared<ThreadEnd>(released)] {});
    released->wait();
}

} // namespace quoxelin::testing
