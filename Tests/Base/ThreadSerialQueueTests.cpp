#include "Base/ThreadSerialQueue.h"

#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace quoxelin::testing {

TEST(ThreadSerialQueue, performsWorkOneByOneInOrder) {
    ThreadSerialQueue queue;
    std::vector<int> order; // unguarded on purpose
    for (int i = 0; i < 1000; ++i)
        queue.async([&, i] { order.push_back(i); });
    ASSERT_TRUE(queue.wait(seconds(60)));
    ASSERT_EQ(order.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(ThreadSerialQueue, keepsTheOrderOfEachOfManyWriters) {
    ThreadSerialQueue queue;
    std::vector<std::pair<int, int>> order;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&, writer] {
            for (int i = 0; i < 250; ++i)
                queue.async([&, writer, i] { order.emplace_back(writer, i); });
        });
    for (auto& writer : writers)
        writer.join();
    ASSERT_TRUE(queue.wait(seconds(60)));
    ASSERT_EQ(order.size(), 1000u);
    std::vector<int> next(4, 0);
    for (const auto& [writer, i] : order)
        EXPECT_EQ(i, next[static_cast<std::size_t>(writer)]++);
}

TEST(ThreadSerialQueue, doesNotDelayOtherQueuesWhileItsWorkBlocks) {
    ThreadSerialQueue blocked, free;
    const auto open = std::make_shared<std::latch>(1);
    blocked.async([=] { open->wait(); });
    EXPECT_TRUE(free.wait(seconds(60)));
    EXPECT_FALSE(blocked.wait(seconds(0.001)));
    open->count_down();
    EXPECT_TRUE(blocked.wait(seconds(60)));
}

TEST(ThreadSerialQueue, performsPendingWorkBeforeItIsDestroyed) {
    const auto open = std::make_shared<std::latch>(1);
    const auto performed = std::make_shared<std::latch>(2);
    {
        ThreadSerialQueue queue;
        queue.async([=] {
            open->wait();
            performed->count_down();
        });
        queue.async([=] { performed->count_down(); });
    }
    open->count_down();
    performed->wait();
}

} // namespace quoxelin::testing
