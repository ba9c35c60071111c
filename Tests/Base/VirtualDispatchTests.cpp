#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(VirtualDispatch, doesNotPerformCanceledWork) {
    VirtualDispatch dispatch;
    bool done = false;
    auto item = dispatch.main().asyncAfter(seconds(1), [&] { done = true; });
    item.cancel();
    EXPECT_FALSE(dispatch.nextInstant().has_value());
    dispatch.advance(seconds(2));
    EXPECT_FALSE(done);
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

} // namespace quoxelin::testing
