// The whole application on the simulated machine as `--simulate` makes it, steered by the lines
// that a demonstration or an end-to-end test would send.
#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/Steering.h"
#include "Tests/Runner/AppDelegateFixture.h"

namespace quoxelin::testing {

class Demonstration : public AppDelegateFixture {
  protected:
    Demonstration() {
        addAllCommands(steering, system);
        system.becomeDemonstration();
        daemon.answer("GET", "/localapi/v0/profiles",
                      SimulatedDaemon::ok(R"({"current_profile_id":"","profiles":[]})"));
        daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::ok());
    }

    void steer(const std::string& line) { steering.take(line); }

    void logIn() {
        daemon.notify(R"({"State":"Running","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    }

    VPNConnectionStatus shownStatus() const { return appState->vpn->status; }

    std::vector<std::string> answers;
    Steering steering{dispatch, [this](const std::string& line) { answers.push_back(line); }};
};

TEST_F(Demonstration, leadsFromALoginToConnected) {
    launch();
    dispatch.advance(seconds(2));
    ASSERT_TRUE(hasStartedAppState());
    EXPECT_TRUE(systemExtension->isApproved);
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
    logIn();
    dispatch.advance(seconds(0.5));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connecting);
    dispatch.advance(seconds(0.7));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
    steer(R"({"do":"wait","vpn-status":3})");
    EXPECT_EQ(answers, std::vector<std::string>{R"({"ok":true,"do":"wait"})"});
}

TEST_F(Demonstration, waitsForThePersonToApproveTheExtension) {
    steer(R"({"do":"require-extension-approval"})");
    launch();
    dispatch.advance(seconds(4.9));
    EXPECT_TRUE(systemExtension->needsUserApproval);
    EXPECT_FALSE(hasStartedAppState());
    dispatch.advance(seconds(1));
    EXPECT_TRUE(hasStartedAppState());
    logIn();
    dispatch.advance(seconds(3));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
    steer(R"({"do":"approve-extension"})");
    dispatch.advance(seconds(1));
    EXPECT_TRUE(systemExtension->isApproved);
    appState->connect();
    dispatch.advance(seconds(2));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
}

TEST_F(Demonstration, reachesTheHelperOnceThePersonHasAllowedIt) {
    steer(R"({"do":"require-service-approval","service":"helper"})");
    launch();
    dispatch.advance(seconds(1));
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_FALSE(hasStartedAppState());
    steer(R"({"do":"approve-service","service":"helper"})");
    steer(R"({"do":"become-active"})");
    dispatch.advance(seconds(2));
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(Demonstration, losesTheTunnelAndFindsItAgain) {
    launch();
    dispatch.advance(seconds(2));
    logIn();
    dispatch.advance(seconds(3));
    ASSERT_EQ(shownStatus(), VPNConnectionStatus::connected);
    steer(R"({"do":"reassert-vpn","seconds":2})");
    dispatch.runUntilIdle();
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connecting);
    dispatch.advance(seconds(2));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
    steer(R"({"do":"drop-vpn"})");
    dispatch.runUntilIdle();
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
}

TEST_F(Demonstration, quitsTheOrderlyWay) {
    launch();
    dispatch.advance(seconds(2));
    steer(R"({"do":"quit"})");
    dispatch.runUntilIdle();
    EXPECT_TRUE(system.application.hasTerminated());
    EXPECT_EQ(log("App").back(), "Quoxelin Desktop App terminated (quoxelind still running)");
}

} // namespace quoxelin::testing
