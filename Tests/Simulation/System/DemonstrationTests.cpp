// The whole application on the simulated system and daemon, with the demonstration's delays.
#include "Tests/Runner/AppDelegateFixture.h"

namespace quoxelin::testing {

class Demonstration : public AppDelegateFixture {
  protected:
    Demonstration() {
        system.becomeDemonstration();
        daemon.announces = true;
    }

    SimulatedServiceManagement::Registration& helper() {
        return system.serviceManagement.daemonRegistration(simulatedHelperPlistName);
    }

    VPNConnectionStatus shownStatus() const { return appState->vpn->status; }
};

TEST_F(Demonstration, leadsFromALoginToConnected) {
    launch();
    dispatch.advance(seconds(2));
    ASSERT_TRUE(hasStartedAppState());
    EXPECT_TRUE(systemExtension->isApproved);
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
    daemon.model.completeLogin();
    dispatch.advance(seconds(0.65));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connecting);
    dispatch.advance(seconds(0.7));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
    EXPECT_EQ(system.networkExtension.tunnel().status(), 3);
}

TEST_F(Demonstration, waitsForTheUserToApproveTheExtension) {
    system.systemExtensions.requireApproval();
    launch();
    dispatch.advance(seconds(4.9));
    EXPECT_TRUE(systemExtension->needsUserApproval);
    EXPECT_FALSE(hasStartedAppState());
    dispatch.advance(seconds(1));
    EXPECT_TRUE(hasStartedAppState());
    daemon.model.completeLogin();
    dispatch.advance(seconds(3));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
    system.systemExtensions.approve();
    dispatch.advance(seconds(1));
    EXPECT_TRUE(systemExtension->isApproved);
    appState->connect();
    dispatch.advance(seconds(2));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
}

TEST_F(Demonstration, reachesTheHelperOnceTheUserHasAllowedIt) {
    helper().requireApproval();
    launch();
    dispatch.advance(seconds(1));
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_FALSE(hasStartedAppState());
    helper().approve();
    system.application.becomeActive();
    dispatch.advance(seconds(2));
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(Demonstration, losesTheTunnelAndRecoversIt) {
    launch();
    dispatch.advance(seconds(2));
    daemon.model.completeLogin();
    dispatch.advance(seconds(3));
    ASSERT_EQ(shownStatus(), VPNConnectionStatus::connected);
    system.networkExtension.tunnel().reassert(seconds(2));
    dispatch.runUntilIdle();
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connecting);
    dispatch.advance(seconds(2));
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::connected);
    system.networkExtension.tunnel().drop();
    dispatch.runUntilIdle();
    EXPECT_EQ(shownStatus(), VPNConnectionStatus::disconnected);
}

TEST_F(Demonstration, quitsInOrder) {
    launch();
    dispatch.advance(seconds(2));
    system.application.terminate();
    dispatch.runUntilIdle();
    EXPECT_TRUE(system.application.hasTerminated());
    EXPECT_EQ(log("App").back(), "Quoxelin Desktop App terminated (quoxelind still running)");
}

} // namespace quoxelin::testing
