#include "Runner/Services/State/LocalAPIError.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

/// An application with an approved extension and a saved tunnel configuration.
struct Approved : AppFixture {
    Approved() {
        systemExtension->isApproved = true;
        system.networkExtension.addConfiguration(
            SimulatedNetworkExtension::ofTunnel("com.quoxelin.desktop.PacketTunnel", "Quoxelin"));
        run();
        forget();
    }

    void refuseTunnelStarts() {
        system.networkExtension.tunnels.startError = Error{NEVPNErrorDomain, 3, "No way."};
    }
};

TEST(AppViewStateConnection, turnsOnTheDaemonAndTheTunnel) {
    Approved app;
    app.appState->connect();
    app.advance(seconds(30));
    EXPECT_EQ(app.stateLines(), (Lines{"connect", "daemon WantRunning=true"}));
    EXPECT_EQ(app.requests(), Lines{app.wantRunningRequest(true)});
    EXPECT_EQ(app.tunnelCommands(), Lines{"0.000 start"});
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::connected);
}

TEST(AppViewStateConnection, turnsOffTheDaemonAndTheTunnel) {
    Approved app;
    app.appState->connect();
    app.advance(seconds(5));
    app.forget();
    app.appState->disconnect();
    app.advance(seconds(30));
    EXPECT_EQ(app.stateLines(), (Lines{"disconnect", "daemon WantRunning=false"}));
    EXPECT_EQ(app.requests(), Lines{app.wantRunningRequest(false)});
    EXPECT_EQ(app.tunnelCommands(), Lines{"5.000 stop"});
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::disconnected);
}

TEST(AppViewStateConnection, stopsTheTunnelWithoutWaitingForTheDaemon) {
    Approved app;
    app.appState->connect();
    app.advance(seconds(5));
    app.forget();
    app.daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::never());
    app.appState->disconnect();
    app.advance(seconds(30));
    EXPECT_EQ(app.stateLines(), Lines{"disconnect"});
    EXPECT_EQ(app.tunnelCommands(), Lines{"5.000 stop"});
}

TEST(AppViewStateConnection, turnsOnOnlyTheDaemonWhileTheExtensionIsNotApproved) {
    Approved app;
    app.systemExtension->isApproved = false;
    app.appState->connect();
    app.run();
    EXPECT_EQ(app.stateLines(),
              (Lines{"connect", "System Extension not approved, skipping VPN tunnel start",
                     "daemon WantRunning=true"}));
    EXPECT_EQ(app.requests(), Lines{app.wantRunningRequest(true)});
    EXPECT_EQ(app.dispatch.nextInstant(), std::nullopt);
    EXPECT_EQ(app.tunnelCommands(), Lines{});
}

TEST(AppViewStateConnection, startsTheTunnelAlthoughTheDaemonRefuses) {
    Approved app;
    app.daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::status(503, "not now"));
    app.appState->connect();
    app.run();
    EXPECT_EQ(app.tunnelCommands(), Lines{"0.000 start"});
    const LocalAPIError error{LocalAPIError::Case::httpError, "not now", 503};
    EXPECT_EQ(app.stateLines(),
              (Lines{"connect", "failed to set WantRunning=true: " + error.debugDescription()}));
    EXPECT_NE(error.debugDescription(), error.errorDescription());
}

TEST(AppViewStateConnection, printsTheErrorInFullWhenTheDaemonIsGone) {
    Approved app;
    app.daemon.refuseConnections();
    app.appState->disconnect();
    app.run();
    const LocalAPIError error{LocalAPIError::Case::connectFailed, "Connection refused"};
    EXPECT_EQ(app.stateLines(), (Lines{"disconnect", "failed to set WantRunning=false: " +
                                                         error.debugDescription()}));
}

// Retries

TEST(AppViewStateConnection, triesThreeTimesAgainTwoSecondsAfterEachStart) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.advance(seconds(100));
    EXPECT_EQ(
        app.timedStateLines(),
        (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "2.000 VPN connection retry 1/3",
               "4.000 VPN connection retry 2/3", "6.000 VPN connection retry 3/3",
               "8.000 VPN connection failed after 3 retries"}));
    EXPECT_EQ(app.tunnelCommands(),
              (Lines{"0.000 start", "2.000 start", "4.000 start", "6.000 start"}));
    EXPECT_EQ(app.requests(), Lines{app.wantRunningRequest(true)});
    EXPECT_EQ(app.dispatch.nextInstant(), std::nullopt);
}

TEST(AppViewStateConnection, countsTheTwoSecondsFromTheEndOfASlowSaving) {
    Approved app;
    app.refuseTunnelStarts();
    app.system.networkExtension.answerDelay = seconds(0.25); // four calls before a start
    app.appState->connect();
    app.advance(seconds(100));
    EXPECT_EQ(app.tunnelCommands(),
              (Lines{"1.000 start", "4.000 start", "7.000 start", "10.000 start"}));
    EXPECT_EQ(
        app.timedStateLines(),
        (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "3.000 VPN connection retry 1/3",
               "6.000 VPN connection retry 2/3", "9.000 VPN connection retry 3/3",
               "12.000 VPN connection failed after 3 retries"}));
}

TEST(AppViewStateConnection, stopsRetryingOnceTheTunnelIsUp) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.advance(seconds(3));
    app.system.networkExtension.tunnels.startError.reset();
    app.advance(seconds(100));
    EXPECT_EQ(app.timedStateLines(),
              (Lines{"0.000 connect", "0.000 daemon WantRunning=true",
                     "2.000 VPN connection retry 1/3", "4.000 VPN connection retry 2/3"}));
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::connected);
}

TEST(AppViewStateConnection, doesNotRestartATunnelThatIsConnectingAtTheCheck) {
    Approved app;
    app.system.networkExtension.tunnels.connectDuration = seconds(1000);
    app.appState->connect();
    app.advance(seconds(2.5));
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::connecting);
    app.tunnel->connectionStatus = VPNConnectionStatus::error;
    app.advance(seconds(100));
    EXPECT_EQ(app.count("VPN connection retry 1/3"), 0);
    EXPECT_EQ(app.tunnelCommands(), Lines{"0.000 start"});
}

TEST(AppViewStateConnection, triesAgainForEveryOtherStatus) {
    for (const auto status : {VPNConnectionStatus::disconnected, VPNConnectionStatus::disconnecting,
                              VPNConnectionStatus::error, VPNConnectionStatus::unknown}) {
        Approved app;
        app.appState->connect();
        app.advance(seconds(1.5));
        app.tunnel->connectionStatus = status;
        app.advance(seconds(0.5));
        EXPECT_EQ(app.timedStateLines().back(), "2.000 VPN connection retry 1/3");
    }
}

TEST(AppViewStateConnection, restartsTheCountWithEveryConnect) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.advance(seconds(5));
    EXPECT_EQ(app.count("VPN connection retry 2/3"), 1);
    app.forget();
    app.appState->connect();
    app.advance(seconds(100));
    EXPECT_EQ(
        app.timedStateLines(),
        (Lines{"5.000 connect", "5.000 daemon WantRunning=true", "7.000 VPN connection retry 1/3",
               "9.000 VPN connection retry 2/3", "11.000 VPN connection retry 3/3",
               "13.000 VPN connection failed after 3 retries"}));
}

TEST(AppViewStateConnection, connectsAgainAfterItGaveUp) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.advance(seconds(20));
    app.forget();
    app.appState->connect();
    app.advance(seconds(20));
    EXPECT_EQ(app.tunnelCommands().size(), 4u);
}

TEST(AppViewStateConnection, leavesOnePendingCheckAfterTwoConnects) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.appState->connect();
    app.advance(seconds(3.9));
    EXPECT_EQ(app.timedStateLines(),
              (Lines{"0.000 connect", "0.000 connect", "0.000 daemon WantRunning=true",
                     "0.000 daemon WantRunning=true", "2.000 VPN connection retry 1/3"}));
}

TEST(AppViewStateConnection, leavesOnePendingCheckWhenTwoSavingsOverlap) {
    Approved app;
    app.refuseTunnelStarts();
    app.system.networkExtension.answerDelay = seconds(0.25);
    app.appState->connect();
    app.advance(seconds(0.5));
    app.appState->connect();
    app.advance(seconds(100));
    // The check of the first connect's start was replaced by the second's, half a second later.
    EXPECT_EQ(app.timedStateLines(),
              (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "0.500 connect",
                     "0.500 daemon WantRunning=true", "3.500 VPN connection retry 1/3",
                     "6.500 VPN connection retry 2/3", "9.500 VPN connection retry 3/3",
                     "12.500 VPN connection failed after 3 retries"}));
    EXPECT_EQ(app.tunnelCommands(),
              (Lines{"1.000 start", "1.500 start", "4.500 start", "7.500 start", "10.500 start"}));
}

TEST(AppViewStateConnection, checksNothingAfterADisconnect) {
    Approved app;
    app.refuseTunnelStarts();
    app.appState->connect();
    app.advance(seconds(1));
    app.appState->disconnect();
    app.advance(seconds(100));
    EXPECT_EQ(app.timedStateLines(), (Lines{"0.000 connect", "0.000 daemon WantRunning=true",
                                            "1.000 disconnect", "1.000 daemon WantRunning=false"}));
    EXPECT_EQ(app.tunnelCommands(), (Lines{"0.000 start", "1.000 stop"}));
}

TEST(AppViewStateConnection, startsNothingAfterADisconnectDuringTheSaving) {
    Approved app;
    app.system.networkExtension.answerDelay = seconds(0.25);
    app.appState->connect();
    app.advance(seconds(0.6));
    app.appState->disconnect();
    app.advance(seconds(100));
    EXPECT_EQ(app.count("VPN connection retry 1/3"), 0);
    ASSERT_FALSE(app.tunnelCommands().empty());
    EXPECT_EQ(app.tunnelCommands().back(), "0.600 stop");
    EXPECT_NE(app.appState->vpn->status, VPNConnectionStatus::connected);
}

TEST(AppViewStateConnection, startsNothingAfterADisconnectDuringTheSavingOfARetry) {
    Approved app;
    app.refuseTunnelStarts();
    app.system.networkExtension.answerDelay = seconds(0.25);
    app.appState->connect();
    app.advance(seconds(3.5));
    EXPECT_EQ(app.count("VPN connection retry 1/3"), 1);
    app.appState->disconnect();
    app.advance(seconds(100));
    EXPECT_EQ(app.tunnelCommands(), (Lines{"1.000 start", "3.500 stop"}));
    EXPECT_EQ(app.count("VPN connection retry 2/3"), 0);
}

TEST(AppViewStateConnection, connectsWhenASecondConnectFollowsADisconnect) {
    Approved app;
    app.system.networkExtension.answerDelay = seconds(0.25);
    app.appState->connect();
    app.advance(seconds(0.1));
    app.appState->disconnect();
    app.advance(seconds(0.1));
    app.appState->connect();
    app.advance(seconds(100));
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::connected);
    EXPECT_EQ(app.requests(), (Lines{app.wantRunningRequest(true), app.wantRunningRequest(false),
                                     app.wantRunningRequest(true)}));
}

TEST(AppViewStateConnection, startsTheTunnelAlthoughTheConfigurationCannotBeSaved) {
    Approved app;
    app.system.networkExtension.errors[SimulatedNetworkExtension::Operation::save] = {
        NEVPNErrorDomain, 5, "Cannot write."};
    app.appState->connect();
    app.run();
    EXPECT_EQ(app.tunnelCommands(), Lines{"0.000 start"});
}

TEST(AppViewStateConnection, triesAgainEvenWithoutAConfigurationToStart) {
    AppFixture app;
    app.systemExtension->isApproved = true;
    app.system.networkExtension.errors[SimulatedNetworkExtension::Operation::loadAll] = {
        NEVPNErrorDomain, 5, "Cannot read."};
    app.appState->connect();
    app.advance(seconds(100));
    EXPECT_EQ(app.count("VPN connection retry 3/3"), 1);
    EXPECT_EQ(app.count("VPN connection failed after 3 retries"), 1);
    EXPECT_EQ(app.tunnelCommands(), Lines{});
}

} // namespace
} // namespace quoxelin::testing
