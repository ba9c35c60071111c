#include "Runner/Views/NotificationHelper.h"

#include "Simulation/System/SimulatedUserNotificationCenter.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class NotificationHelperTest : public ::testing::Test {
  protected:
    VirtualDispatch dispatch;
    SimulatedUserNotificationCenter center{dispatch};
};

TEST_F(NotificationHelperTest, delivers) {
    center.answer(true);
    NotificationHelper::show(center, "Title", "Body");
    EXPECT_TRUE(center.requests().empty());
    dispatch.runUntilIdle();
    ASSERT_EQ(center.delivered().size(), 1u);
    const auto request = center.delivered()[0].request;
    EXPECT_EQ(request.title, "Title");
    EXPECT_EQ(request.body, "Body");
    EXPECT_FALSE(request.defaultSound);
    EXPECT_EQ(request.identifier.size(), 36u);
    EXPECT_TRUE(center.authorizationRequests().empty());
}

TEST_F(NotificationHelperTest, asksAndAddsInTheSamePassBeforeTheUserHasAnswered) {
    NotificationHelper::show(center, "Title", "Body");
    dispatch.runUntilIdle();
    EXPECT_EQ(center.authorizationRequests(), std::vector<unsigned>{7});
    EXPECT_TRUE(center.isAskingForAuthorization());
    EXPECT_EQ(center.requests().size(), 1u);
    EXPECT_TRUE(center.delivered().empty());
    center.answer(true);
    dispatch.runUntilIdle();
    NotificationHelper::show(center, "Title", "Body");
    dispatch.runUntilIdle();
    EXPECT_EQ(center.delivered().size(), 1u);
    EXPECT_EQ(center.authorizationRequests().size(), 1u);
}

TEST_F(NotificationHelperTest, addsEvenIfNotificationsAreDenied) {
    center.answer(false);
    NotificationHelper::show(center, "Title", "Body");
    dispatch.runUntilIdle();
    EXPECT_EQ(center.authorizationRequests(), std::vector<unsigned>{7});
    EXPECT_EQ(center.requests().size(), 1u);
    EXPECT_TRUE(center.delivered().empty());
}

TEST_F(NotificationHelperTest, asksUnlessTheStatusIsExactlyAuthorized) {
    for (const int status : {-1, 0, 1, 3, 4}) {
        center.setAuthorizationStatus(status);
        const auto before = center.authorizationRequests().size();
        NotificationHelper::show(center, "", "");
        dispatch.runUntilIdle();
        EXPECT_EQ(center.authorizationRequests().size(), before + 1) << status;
    }
    EXPECT_EQ(center.requests().size(), 5u);
}

TEST_F(NotificationHelperTest, addsEvenIfAskingFails) {
    center.failAuthorization(Error{"UNErrorDomain", 1, "Notifications are not allowed"});
    NotificationHelper::show(center, "Title", "Body");
    dispatch.runUntilIdle();
    EXPECT_EQ(center.requests().size(), 1u);
}

TEST_F(NotificationHelperTest, makesTwoNotificationsOfTheSameText) {
    center.answer(true);
    NotificationHelper::show(center, "Title", "Body");
    NotificationHelper::show(center, "Title", "Body");
    dispatch.runUntilIdle();
    const auto requests = center.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_NE(requests[0].identifier, requests[1].identifier);
    EXPECT_EQ(center.delivered().size(), 2u);
}

TEST_F(NotificationHelperTest, waitsForTheSettings) {
    center.answer(true);
    center.setSettingsDelay(seconds(2));
    NotificationHelper::show(center, "Title", "Body");
    dispatch.advance(seconds(1.9));
    EXPECT_TRUE(center.requests().empty());
    dispatch.advance(seconds(0.1));
    EXPECT_EQ(center.requests().size(), 1u);
}

TEST_F(NotificationHelperTest, worksOnAnyThread) {
    center.answer(true);
    dispatch.global(QualityOfService::background).async([this] {
        NotificationHelper::show(center, "Title", "Body");
    });
    dispatch.runUntilIdle();
    EXPECT_EQ(center.delivered().size(), 1u);
}

} // namespace quoxelin::testing
