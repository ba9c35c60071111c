#include "Base/WorkItem.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace quoxelin::testing {

TEST(WorkItem, isPerformedOnce) {
    int performed = 0;
    WorkItem item([&] { ++performed; });
    EXPECT_TRUE(item.isPending());
    item.perform();
    EXPECT_FALSE(item.isPending());
    item.perform();
    EXPECT_EQ(performed, 1);
}

TEST(WorkItem, isNotPerformedAfterItWasCanceled) {
    int performed = 0;
    WorkItem item([&] { ++performed; });
    item.cancel();
    EXPECT_FALSE(item.isPending());
    item.perform();
    item.cancel();
    EXPECT_EQ(performed, 0);
}

TEST(WorkItem, releasesItsCapturesOnceCanceledOrPerformed) {
    const auto held = std::make_shared<int>(1);
    WorkItem canceled([held] {});
    WorkItem performed([held] {});
    canceled.cancel();
    performed.perform();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(WorkItem, mayBeCanceledByItsOwnWork) {
    int performed = 0;
    std::unique_ptr<WorkItem> item;
    item = std::make_unique<WorkItem>([&] {
        ++performed;
        item->cancel();
        EXPECT_FALSE(item->isPending());
    });
    item->perform();
    EXPECT_EQ(performed, 1);
}

TEST(WorkItem, isPerformedByOneOfManyThreads) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> performed = 0;
        WorkItem item([&] { ++performed; });
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([item]() mutable { item.perform(); });
        for (auto& thread : threads)
            thread.join();
        EXPECT_EQ(performed, 1);
    }
}

} // namespace quoxelin::testing
