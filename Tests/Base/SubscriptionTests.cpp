#include "Base/Subscription.h"

#include <gtest/gtest.h>
#include <optional>

namespace quoxelin::testing {

class SubscriptionTest : public ::testing::Test {
  protected:
    Subscription subscribe() {
        return Subscription([this] { ++ended; });
    }

    int ended = 0;
};

TEST_F(SubscriptionTest, endsWhenDestroyed) {
    {
        const auto subscription = subscribe();
        EXPECT_EQ(ended, 0);
    }
    EXPECT_EQ(ended, 1);
}

TEST_F(SubscriptionTest, endsOnce) {
    {
        auto subscription = subscribe();
        EXPECT_TRUE(static_cast<bool>(subscription));
        subscription.cancel();
        EXPECT_FALSE(static_cast<bool>(subscription));
        subscription.cancel();
    }
    EXPECT_EQ(ended, 1);
}

TEST_F(SubscriptionTest, endsNothingByDefault) {
    Subscription subscription;
    EXPECT_FALSE(static_cast<bool>(subscription));
    subscription.cancel();
}

TEST_F(SubscriptionTest, movesWithItsObservation) {
    auto first = subscribe();
    auto second = std::move(first);
    first.cancel(); // NOLINT(bugprone-use-after-move): a moved-from subscription is empty
    EXPECT_EQ(ended, 0);
    second.cancel();
    EXPECT_EQ(ended, 1);
}

TEST_F(SubscriptionTest, endsTheOldOneWhenAnotherIsAssigned) {
    auto subscription = subscribe();
    subscription = Subscription([this] { ended += 10; });
    EXPECT_EQ(ended, 1);
    subscription = Subscription();
    EXPECT_EQ(ended, 11);
    Subscription other([this] { ended += 100; });
    subscription = Subscription([this] { ended += 1000; });
    subscription = std::move(other);
    EXPECT_EQ(ended, 1011) << "at once";
}

TEST_F(SubscriptionTest, mayBeEndedWhileItEnds) {
    std::optional<Subscription> subscription;
    subscription.emplace([&] {
        ++ended;
        subscription->cancel();
    });
    subscription->cancel();
    EXPECT_EQ(ended, 1);
}

} // namespace quoxelin::testing
