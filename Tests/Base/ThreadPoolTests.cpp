#include "Base/ThreadPool.h"

#include <barrier>
#include <functional>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <pthread.h>
#include <semaphore>
#include <system_error>
#include <thread>

namespace quoxelin::testing {

namespace {

using namespace std::chrono_literals;

/// Reports the end of the thread or the work that has it.
class End {
  public:
    explicit End(std::function<void()> tell) : tell(std::move(tell)) {}
    ~End() { tell(); }

  private:
    std::function<void()> tell;
};

/// Blocks that many of the pool's threads until it goes.
class Blocked {
  public:
    Blocked(ThreadPool& pool, int count) {
        const auto begun = std::make_shared<std::latch>(count);
        for (int i = 0; i < count; ++i)
            pool.async([begun, open = open] {
                begun->count_down();
                open->wait();
            });
        begun->wait();
    }
    ~Blocked() { open->count_down(); }

  private:
    std::shared_ptr<std::latch> open = std::make_shared<std::latch>(1);
};

} // namespace

TEST(ThreadPool, startsAThreadWhileAllOthersAreBlocked) {
    ThreadPool pool(64, 1h);
    const Blocked blocked(pool, 63);
    std::binary_semaphore performed(0);
    pool.async([&] { performed.release(); });
    performed.acquire();
}

TEST(ThreadPool, startsAThreadForTheSecondOfTwoWorksWhenOneThreadIsIdle) {
    // Several times, because the first thread may not be idle yet.
    for (int attempt = 0; attempt < 10; ++attempt) {
        ThreadPool pool(2, 1h);
        for (int turn = 0; turn < 100; ++turn)
            std::this_thread::yield();
        const auto met = std::make_shared<std::latch>(2);
        pool.async([=] { met->arrive_and_wait(); });
        pool.async([=] { met->arrive_and_wait(); });
        met->wait();
    }
}

TEST(ThreadPool, startsAThreadOnceTheIdleOneWorks) {
    // Several times, because the first thread may not be idle yet.
    for (int attempt = 0; attempt < 10; ++attempt) {
        ThreadPool pool(2, 1h);
        for (int turn = 0; turn < 100; ++turn)
            std::this_thread::yield();
        const Blocked blocked(pool, 1);
        std::binary_semaphore performed(0);
        pool.async([&] { performed.release(); });
        performed.acquire();
    }
}

TEST(ThreadPool, leavesWorkToIdleThreads) {
    ThreadPool pool(512, 1h);
    for (int turn = 0; turn < 600; ++turn) {
        std::binary_semaphore performed(0);
        pool.async([&] { performed.release(); });
        performed.acquire();
    }
    EXPECT_LT(pool.threadCount(), 512u); // now and then a thread is not idle yet
}

TEST(ThreadPool, doesNotGrowBeyondItsLimit) {
    ThreadPool pool(2, 1h);
    std::binary_semaphore performed(0);
    {
        const Blocked blocked(pool, 2);
        pool.async([&] { performed.release(); });
        EXPECT_EQ(pool.threadCount(), 2u);
        EXPECT_FALSE(performed.try_acquire());
    }
    performed.acquire();
    EXPECT_LE(pool.threadCount(), 2u);
}

TEST(ThreadPool, performsWorkInOrderIfThereIsOnlyOneThread) {
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

TEST(ThreadPool, letsAllButOneIdleThreadExit) {
    const auto ended = std::make_shared<std::counting_semaphore<>>(0);
    {
        ThreadPool pool(8, 1ms);
        const auto met = std::make_shared<std::barrier<>>(8);
        for (int i = 0; i < 8; ++i)
            pool.async([=] {
                thread_local End end([=] { ended->release(); });
                met->arrive_and_wait();
            });
        for (int i = 0; i < 7; ++i)
            ended->acquire();
        EXPECT_EQ(pool.threadCount(), 1u);
    }
    ended->acquire();
}

TEST(ThreadPool, keepsAThreadWhenAllAreIdleForLong) {
    for (int attempt = 0; attempt < 50; ++attempt) {
        ThreadPool pool(2, 1ms);
        const auto ended = std::make_shared<std::binary_semaphore>(0);
        const auto met = std::make_shared<std::barrier<>>(2);
        for (int i = 0; i < 2; ++i)
            pool.async([=] {
                thread_local End end([=] { ended->release(); });
                met->arrive_and_wait();
            });
        ended->acquire();
        EXPECT_EQ(pool.threadCount(), 1u);
        std::binary_semaphore performed(0);
        pool.async([&] { performed.release(); });
        performed.acquire();
    }
}

#ifdef __GLIBC__ // other platforms cannot refuse threads to the program

/// While it exists, the system refuses to start threads.
class NoFurtherThread {
  public:
    NoFurtherThread() {
        ::pthread_getattr_default_np(&before);
        pthread_attr_t beyondAllMemory;
        ::pthread_attr_init(&beyondAllMemory);
        ::pthread_attr_setstacksize(&beyondAllMemory, std::size_t(1) << 48);
        ::pthread_setattr_default_np(&beyondAllMemory);
        ::pthread_attr_destroy(&beyondAllMemory);
    }
    ~NoFurtherThread() {
        ::pthread_setattr_default_np(&before);
        ::pthread_attr_destroy(&before);
    }

  private:
    pthread_attr_t before;
};

TEST(ThreadPool, performsWorkEvenIfTheSystemCannotStartAThread) {
    ThreadPool pool(8, 0ms);
    const NoFurtherThread refusing;
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
    const auto performed = std::make_shared<std::binary_semaphore>(0);
    for (int i = 0; i < 5'000; ++i) {
        pool.async([=] { performed->release(); });
        ASSERT_TRUE(performed->try_acquire_for(10s)) << "no thread is left after " << i;
    }
    EXPECT_EQ(pool.threadCount(), 1u);
}

TEST(ThreadPool, needsAFirstThread) {
    const NoFurtherThread refusing;
    EXPECT_THROW(ThreadPool(8, 1h), std::system_error);
}

#endif

TEST(ThreadPool, performsPendingWorkBeforeItIsDestroyed) {
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

TEST(ThreadPool, endsItsIdleThreadsWhenDestroyed) {
    const auto ended = std::make_shared<std::latch>(1);
    {
        ThreadPool pool(1, 1h);
        pool.async([=] { thread_local End end([=] { ended->count_down(); }); });
    }
    ended->wait();
}

TEST(ThreadPool, releasesCapturesWithoutWaitingForTheNextWork) {
    ThreadPool pool(1, 1h);
    const auto released = std::make_shared<std::latch>(1);
    pool.async([end = std::make_shared<End>([=] { released->count_down(); })] {});
    released->wait();
}

TEST(ThreadPool, takesWorkFromTheEndOfWhatAWorkHolds) {
    ThreadPool pool(1, 1h);
    std::binary_semaphore performed(0);
    pool.async([end = std::make_shared<End>([&] { pool.async([&] { performed.release(); }); })] {});
    performed.acquire();
}

} // namespace quoxelin::testing
