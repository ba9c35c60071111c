#include "Runner/Services/State/LocalAPIError.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

/// An application with an approved extension and a saved tunnel configuration.
class AppViewStateConnection : public AppTest {
  protected:
    AppViewStateConnection() {
        systemExtension->isApproved = true;
        addTunnelConfiguration();
        run();
        forget();
    }
};

TEST_F(AppViewStateConnection, turnsOnTheDaemonAndTheTunnel) {
    appState->connect();
    advance(seconds(30));
    EXPECT_EQ(stateLines(), (Lines{"connect", "daemon WantRunning=true"}));
    EXPECT_EQ(requests(), Lines{wantRunningRequest(true)});
    EXPECT_EQ(tunnelCommands(), Lines{"0.000 start"});
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::connected);
}

TEST_F(AppViewStateConnection, turnsOffTheDaemonAndTheTunnel) {
    appState->connect();
    advance(seconds(5));
    forget();
    appState->disconnect();
    advance(seconds(30));
    EXPECT_EQ(stateLines(), (Lines{"disconnect", "daemon WantRunning=false"}));
    EXPECT_EQ(requests(), Lines{wantRunningRequest(false)});
    EXPECT_EQ(tunnelCommands(), Lines{"5.000 stop"});
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::disconnected);
}

TEST_F(AppViewStateConnection, asksTheDaemonBeforeItStopsTheTunnel) {
    appState->connect();
    advance(seconds(5));
    const auto before = dispatch.submittedQualities().size();
    auto atTheStop = before;
    system.networkExtension.onRequest = [&](const std::string& request) {
        if (request == "stop")
            atTheStop = dispatch.submittedQualities().size();
    };
    appState->disconnect();
    run();
    EXPECT_EQ(atTheStop, before + 1);
}

TEST_F(AppViewStateConnection, stopsTheTunnelWithoutWaitingForTheDaemon) {
    appState->connect();
    advance(seconds(5));
    forget();
    daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::never());
    appState->disconnect();
    advance(seconds(30));
    EXPECT_EQ(stateLines(), Lines{"disconnect"});
    EXPECT_EQ(tunnelCommands(), Lines{"5.000 stop"});
}

TEST_F(AppViewStateConnection, turnsOnOnlyTheDaemonWhileTheExtensionIsNotApproved) {
    systemExtension->isApproved = false;
    appState->connect();
    run();
    EXPECT_EQ(stateLines(),
              (Lines{"connect", "System Extension not approved, skipping VPN tunnel start",
                     "daemon WantRunning=true"}));
    EXPECT_EQ(requests(), Lines{wantRunningRequest(true)});
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
    EXPECT_EQ(tunnelCommands(), Lines{});
}

TEST_F(AppViewStateConnection, startsTheTunnelAlthoughTheDaemonRefuses) {
    daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::status(503, "not now"));
    appState->connect();
    run();
    EXPECT_EQ(tunnelCommands(), Lines{"0.000 start"});
    const LocalAPIError error{LocalAPIError::Case::httpError, "not now", 503};
    EXPECT_EQ(stateLines(),
              (Lines{"connect", "failed to set WantRunning=true: " + error.debugDescription()}));
    EXPECT_NE(error.debugDescription(), error.errorDescription());
}

TEST_F(AppViewStateConnection, printsTheErrorInFullWhenTheDaemonIsGone) {
    daemon.refuseConnections();
    appState->disconnect();
    run();
    const LocalAPIError error{LocalAPIError::Case::connectFailed, "Connection refused"};
    EXPECT_EQ(stateLines(), (Lines{"disconnect", "failed to set WantRunning=false: " +
                                                     error.debugDescription()}));
}

// Retries

TEST_F(AppViewStateConnection, triesThreeTimesAgainTwoSecondsAfterEachStart) {
    refuseTunnelStarts();
    whenLogged("[State] VPN connection retry 1/3",
               [this] { system.networkExtension.requests.clear(); });
    appState->connect();
    advance(seconds(100));
    EXPECT_EQ(system.networkExtension.requests.front(), "loadAll");
    EXPECT_EQ(
        timedStateLines(),
        (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "2.000 VPN connection retry 1/3",
               "4.000 VPN connection retry 2/3", "6.000 VPN connection retry 3/3",
               "8.000 VPN connection failed after 3 retries"}));
    EXPECT_EQ(tunnelCommands(),
              (Lines{"0.000 start", "2.000 start", "4.000 start", "6.000 start"}));
    EXPECT_EQ(requests(), Lines{wantRunningRequest(true)});
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
}

TEST_F(AppViewStateConnection, countsTheTwoSecondsFromTheEndOfASlowSaving) {
    refuseTunnelStarts();
    system.networkExtension.answerDelay = seconds(0.25); // four calls before a start
    appState->connect();
    advance(seconds(100));
    EXPECT_EQ(tunnelCommands(),
              (Lines{"1.000 start", "4.000 start", "7.000 start", "10.000 start"}));
    EXPECT_EQ(
        timedStateLines(),
        (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "3.000 VPN connection retry 1/3",
               "6.000 VPN connection retry 2/3", "9.000 VPN connection retry 3/3",
               "12.000 VPN connection failed after 3 retries"}));
}

TEST_F(AppViewStateConnection, stopsRetryingOnceTheTunnelIsUp) {
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(3));
    system.networkExtension.tunnels.startError.reset();
    advance(seconds(100));
    EXPECT_EQ(timedStateLines(),
              (Lines{"0.000 connect", "0.000 daemon WantRunning=true",
                     "2.000 VPN connection retry 1/3", "4.000 VPN connection retry 2/3"}));
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::connected);
}

TEST_F(AppViewStateConnection, doesNotRestartATunnelThatIsConnectingAtTheCheck) {
    system.networkExtension.tunnels.connectDuration = seconds(1000);
    appState->connect();
    advance(seconds(2.5));
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::connecting);
    tunnel->connectionStatus = VPNConnectionStatus::error;
    advance(seconds(100));
    EXPECT_EQ(count("VPN connection retry 1/3"), 0);
    EXPECT_EQ(tunnelCommands(), Lines{"0.000 start"});
}

class ConnectionStatusAtTheCheck : public AppViewStateConnection,
                                   public ::testing::WithParamInterface<VPNConnectionStatus> {};

TEST_P(ConnectionStatusAtTheCheck, leadsToAnotherTryUnlessTheTunnelIsUpOrComingUp) {
    appState->connect();
    advance(seconds(1.5));
    tunnel->connectionStatus = GetParam();
    advance(seconds(0.5));
    EXPECT_EQ(timedStateLines().back(), "2.000 VPN connection retry 1/3");
}

INSTANTIATE_TEST_SUITE_P(AppViewState, ConnectionStatusAtTheCheck,
                         ::testing::Values(VPNConnectionStatus::disconnected,
                                           VPNConnectionStatus::disconnecting,
                                           VPNConnectionStatus::error,
                                           VPNConnectionStatus::unknown));

TEST_F(AppViewStateConnection, restartsTheCountWithEveryConnect) {
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(5));
    EXPECT_EQ(count("VPN connection retry 2/3"), 1);
    forget();
    appState->connect();
    advance(seconds(100));
    EXPECT_EQ(
        timedStateLines(),
        (Lines{"5.000 connect", "5.000 daemon WantRunning=true", "7.000 VPN connection retry 1/3",
               "9.000 VPN connection retry 2/3", "11.000 VPN connection retry 3/3",
               "13.000 VPN connection failed after 3 retries"}));
}

TEST_F(AppViewStateConnection, connectsAgainAfterItGaveUp) {
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(20));
    forget();
    appState->connect();
    advance(seconds(20));
    EXPECT_EQ(tunnelCommands().size(), 4u);
}

TEST_F(AppViewStateConnection, leavesOnePendingCheckAfterTwoConnects) {
    refuseTunnelStarts();
    appState->connect();
    appState->connect();
    advance(seconds(3.9));
    EXPECT_EQ(timedStateLines(),
              (Lines{"0.000 connect", "0.000 connect", "0.000 daemon WantRunning=true",
                     "0.000 daemon WantRunning=true", "2.000 VPN connection retry 1/3"}));
}

TEST_F(AppViewStateConnection, leavesOnePendingCheckWhenTwoSavingsOverlap) {
    refuseTunnelStarts();
    system.networkExtension.answerDelay = seconds(0.25);
    appState->connect();
    advance(seconds(0.5));
    appState->connect();
    advance(seconds(100));
    // The check of the first connect's start was replaced by the second's, half a second later.
    EXPECT_EQ(timedStateLines(),
              (Lines{"0.000 connect", "0.000 daemon WantRunning=true", "0.500 connect",
                     "0.500 daemon WantRunning=true", "3.500 VPN connection retry 1/3",
                     "6.500 VPN connection retry 2/3", "9.500 VPN connection retry 3/3",
                     "12.500 VPN connection failed after 3 retries"}));
    EXPECT_EQ(tunnelCommands(),
              (Lines{"1.000 start", "1.500 start", "4.500 start", "7.500 start", "10.500 start"}));
}

TEST_F(AppViewStateConnection, checksNothingAfterAConnectThatIsNotApproved) {
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(1));
    systemExtension->isApproved = false;
    appState->connect();
    advance(seconds(60));
    EXPECT_EQ(count("VPN connection retry 1/3"), 0);
}

TEST_F(AppViewStateConnection, checksNothingAfterADisconnect) {
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(1));
    appState->disconnect();
    advance(seconds(100));
    EXPECT_EQ(timedStateLines(), (Lines{"0.000 connect", "0.000 daemon WantRunning=true",
                                        "1.000 disconnect", "1.000 daemon WantRunning=false"}));
    EXPECT_EQ(tunnelCommands(), (Lines{"0.000 start", "1.000 stop"}));
}

TEST_F(AppViewStateConnection, startsNothingAfterADisconnectDuringTheSaving) {
    system.networkExtension.answerDelay = seconds(0.25);
    appState->connect();
    advance(seconds(0.6));
    appState->disconnect();
    advance(seconds(100));
    EXPECT_EQ(count("VPN connection retry 1/3"), 0);
    ASSERT_FALSE(tunnelCommands().empty());
    EXPECT_EQ(tunnelCommands().back(), "0.600 stop");
    EXPECT_NE(appState->vpn->status, VPNConnectionStatus::connected);
}

TEST_F(AppViewStateConnection, startsNothingAfterADisconnectDuringTheSavingOfARetry) {
    refuseTunnelStarts();
    system.networkExtension.answerDelay = seconds(0.25);
    appState->connect();
    advance(seconds(3.5));
    EXPECT_EQ(count("VPN connection retry 1/3"), 1);
    appState->disconnect();
    advance(seconds(100));
    EXPECT_EQ(tunnelCommands(), (Lines{"1.000 start", "3.500 stop"}));
    EXPECT_EQ(count("VPN connection retry 2/3"), 0);
}

TEST_F(AppViewStateConnection, connectsWhenASecondConnectFollowsADisconnect) {
    system.networkExtension.answerDelay = seconds(0.25);
    appState->connect();
    advance(seconds(0.1));
    appState->disconnect();
    advance(seconds(0.1));
    appState->connect();
    advance(seconds(100));
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::connected);
    EXPECT_EQ(requests(), (Lines{wantRunningRequest(true), wantRunningRequest(false),
                                 wantRunningRequest(true)}));
}

TEST_F(AppViewStateConnection, startsTheTunnelAlthoughTheConfigurationCannotBeSaved) {
    system.networkExtension.errors[SimulatedNetworkExtension::Operation::save] = {
        NEVPNErrorDomain, 5, "Cannot write."};
    appState->connect();
    run();
    EXPECT_EQ(tunnelCommands(), Lines{"0.000 start"});
}

TEST_F(AppViewStateConnection, triesAgainEvenWithoutAConfigurationToStart) {
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
