#include "Simulation/System/SimulatedUserNotificationCenter.h"

#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

class ForegroundDelegate final : public UNUserNotificationCenterDelegate {
  public:
    void willPresent(const UNNotificationRequest&,
                     std::function<void(unsigned)> completionHandler) override {
        completionHandler(18);
    }
};

} // namespace

class SimulatedUserNotificationCenterTest : public ::testing::Test {
  protected:
    void ask() {
        center.requestAuthorization(7, [this](bool granted, const std::optional<Error>& error) {
            EXPECT_FALSE(dispatch.isMainThread());
            answers += error ? 'e' : granted ? 'y' : 'n';
        });
    }

    int status() {
        int status = -1;
        center.getNotificationSettings(
            [&](const UNNotificationSettings& settings) { status = settings.authorizationStatus; });
        dispatch.runUntilIdle();
        return status;
    }

    VirtualDispatch dispatch;
    SimulatedUserNotificationCenter center{dispatch};
    std::string answers;
};

TEST_F(SimulatedUserNotificationCenterTest, letsThePersonAnswerLater) {
    EXPECT_EQ(status(), 0);
    ask();
    ask();
    dispatch.advance(seconds(60));
    EXPECT_EQ(answers, "");
    EXPECT_TRUE(center.isAskingForAuthorization());
    center.answer(false);
    dispatch.runUntilIdle();
    EXPECT_EQ(answers, "nn");
    EXPECT_EQ(status(), 1);
    ask();
    center.answer(true);
    ask();
    dispatch.runUntilIdle();
    EXPECT_EQ(answers, "nnny");
    EXPECT_EQ(status(), 2);
    EXPECT_FALSE(center.isAskingForAuthorization());
}

TEST_F(SimulatedUserNotificationCenterTest, failsWhereAskingFails) {
    center.failAuthorization(Error{"UNErrorDomain", 1, "no"});
    ask();
    dispatch.runUntilIdle();
    EXPECT_EQ(answers, "e");
    EXPECT_EQ(status(), 0);
}

TEST_F(SimulatedUserNotificationCenterTest, asksTheDelegateWhileTheApplicationIsInFront) {
    center.answer(true);
    center.add({"background", "", "", false});
    center.setApplicationActive(true);
    center.add({"nobody asked", "", "", false});
    dispatch.runUntilIdle();
    const auto delegate = std::make_shared<ForegroundDelegate>();
    center.setDelegate(delegate);
    center.add({"in front", "", "", false});
    dispatch.runUntilIdle();
    const auto delivered = center.delivered();
    ASSERT_EQ(delivered.size(), 2u);
    EXPECT_EQ(delivered[0].request.identifier, "background");
    EXPECT_EQ(delivered[0].presentationOptions, std::nullopt);
    EXPECT_EQ(delivered[1].request.identifier, "in front");
    EXPECT_EQ(delivered[1].presentationOptions, 18u);
    EXPECT_EQ(center.requests().size(), 3u);
}

} // namespace quoxelin::testing
