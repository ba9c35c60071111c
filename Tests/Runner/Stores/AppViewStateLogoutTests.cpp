#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

class AppViewStateLogout : public AppTest {};

TEST_F(AppViewStateLogout, logsOutInOrder) {
    systemExtension->isApproved = true;
    startAndForget();
    answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                   R"({"id":"a","name":"A","is_current":true},)"
                   R"({"id":"b","name":"B","is_current":false}]})");
    bus(bareMap);
    advance(seconds(5));
    forget();

    appState->logout();
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    advance(seconds(20));
    EXPECT_EQ(timedStateLines(),
              (Lines{"5.000 logout called", "5.000 disconnect", "5.000 daemon WantRunning=false",
                     "5.300 refreshProfiles called", "5.300 Got 2 profiles"}));
    EXPECT_EQ(timedRequests(), (Lines{"5.000 " + wantRunningRequest(false),
                                      "5.000 POST /localapi/v0/logout", "5.300 " + getProfiles}));
    EXPECT_EQ(tunnelCommands(), Lines{"5.000 stop"});
    EXPECT_EQ(appState->profiles->size(), 2u);
}

TEST_F(AppViewStateLogout, publishesTheEmptyAccountAfterTheTunnelIsStopped) {
    startAndForget();
    bus(bareMap);
    bool wasLoggedIn = false;
    system.networkExtension.onRequest = [&](const std::string& request) {
        wasLoggedIn = request == "stop" && appState->login->isLoggedIn;
    };
    addTunnelConfiguration();
    systemExtension->isApproved = true;
    appState->connect();
    advance(seconds(5));
    appState->logout();
    EXPECT_TRUE(wasLoggedIn);
    EXPECT_FALSE(appState->login->isLoggedIn);
}

TEST_F(AppViewStateLogout, publishesTheEmptyAccountEvenIfItWasEmpty) {
    int publications = -1; // the value at subscription
    const auto subscription =
        appState->login.subscribe([&](const LoginViewState&) { ++publications; });
    appState->logout();
    EXPECT_EQ(publications, 1);
}

TEST_F(AppViewStateLogout, checksNoTunnelAfterALogout) {
    systemExtension->isApproved = true;
    run();
    refuseTunnelStarts();
    appState->connect();
    advance(seconds(1));
    appState->logout();
    advance(seconds(100));
    EXPECT_EQ(count("VPN connection retry 1/3"), 0);
}

TEST_F(AppViewStateLogout, startsNoTunnelThatIsAllowedAfterALogout) {
    systemExtension->isApproved = true;
    system.networkExtension.requireApproval();
    run();
    appState->connect();
    advance(seconds(30));
    appState->logout();
    advance(seconds(30));
    forget();
    system.networkExtension.allow();
    advance(seconds(30));
    EXPECT_EQ(tunnelCommands(), Lines{});
    EXPECT_NE(appState->vpn->status, VPNConnectionStatus::connected);
}

TEST_F(AppViewStateLogout, refillsNothingWhileLoggingOut) {
    startAndForget();
    bus(bareMap);
    appState->logout();
    advance(seconds(1));
    forget();
    bus(R"({"State":"Running","Jailed":true,"JailReason":"one",)"
        R"("NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42,"Name":"laptop",)"
        R"("Addresses":["100.64.0.1"]}},)"
        R"("UserProfiles":{"42":{"LoginName":"ann@example.com","DisplayName":"Ann"}}}})");
    bus(R"({"State":"NoState"})");
    bus(bareMap);
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_EQ(stateLines(),
              (Lines{"Received HashiBus state: running", "Received HashiBus state: noState"}));
    EXPECT_EQ(requests(), Lines{});
}

TEST_F(AppViewStateLogout, trustsTheBusAgainOnceTheDaemonNeedsALogin) {
    startAndForget();
    bus(bareMap);
    appState->logout();
    bus(R"({"State":"NeedsLogin"})");
    bus(bareMap);
    EXPECT_TRUE(appState->login->isLoggedIn);
    EXPECT_EQ(count("connect"), 2);
}

TEST_F(AppViewStateLogout, trustsTheMapInTheSameMessageThatNeedsALogin) {
    startAndForget();
    appState->logout();
    bus(R"({"State":"NeedsLogin","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_TRUE(appState->login->isLoggedIn);
}

TEST_F(AppViewStateLogout, acceptsALoginPageWhileLoggingOut) {
    startAndForget();
    appState->logout();
    bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/a");
}

TEST_F(AppViewStateLogout, restoresNoAccountFromAStatusRequestedBeforeTheLogout) {
    startAndForget();
    answerStatus(R"({"backend_state":"Running"})");
    daemon.deliveries["/localapi/v0/status"].delay = seconds(2);
    appState->pollForLoginCompletion();
    advance(seconds(1.5));
    appState->pollForLoginCompletion(); // its first tick comes after the logout
    bus(bareMap);
    appState->logout();
    forget();
    advance(seconds(200));
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_EQ(count("connect"), 0);
    EXPECT_EQ(countRequests(getStatus), 0);
}

TEST_F(AppViewStateLogout, learnsOfTheJailFromAStatusWhileLoggingOut) {
    startAndForget();
    appState->logout();
    answerStatus(R"({"jailed":true,"jail_reason":"old system"})");
    appState->pollForLoginCompletion();
    advance(seconds(1));
    EXPECT_EQ(appState->login->jailedReason, "old system");
}

TEST_F(AppViewStateLogout, pollsForTheLoginThatFollowsALogout) {
    startAndForget();
    appState->logout();
    answerStatus(R"({"backend_state":"Running"})");
    appState->pollForLoginCompletion();
    advance(seconds(1));
    EXPECT_TRUE(appState->login->isLoggedIn);
    EXPECT_EQ(count("connect"), 1);
}

TEST_F(AppViewStateLogout, logsOutEvenWithoutADaemon) {
    daemon.refuseConnections();
    appState->logout();
    advance(seconds(1));
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_EQ(lines("HashiBus"), Lines{"Logout failed: Could not open socket"});
    EXPECT_EQ(stateLines().back(),
              "Failed to get profiles: Failed to connect to quoxelind socket: Connection refused");
}

} // namespace
} // namespace quoxelin::testing
