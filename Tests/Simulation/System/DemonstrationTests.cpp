// The whole application on the simulated system and daemon, with the demonstration's delays.
#include "Tests/Runner/AppDelegateFixture.h"

namespace quoxelin::testing {

class Demonstration : public AppDelegateFixture {
  protected:
    Demonstration() {
        system.becomeDemonstration();
        daemon.announces = true;
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

} // namespace quoxelin::testing
