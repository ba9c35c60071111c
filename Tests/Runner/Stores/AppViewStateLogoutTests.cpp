#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

TEST(AppViewStateLogout, logsOutInOrder) {
    AppFixture app;
    app.systemExtension->isApproved = true;
    app.startAndForget();
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true},)"
                       R"({"id":"b","name":"B","is_current":false}]})");
    app.bus(bareMap);
    app.advance(seconds(5));
    app.forget();

    app.appState->logout();
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    app.advance(seconds(20));
    EXPECT_EQ(app.timedStateLines(),
              (Lines{"5.000 logout called", "5.000 disconnect", "5.000 daemon WantRunning=false",
                     "5.300 refreshProfiles called", "5.300 Got 2 profiles"}));
    EXPECT_EQ(app.timedRequests(),
              (Lines{"5.000 " + app.wantRunningRequest(false), "5.000 POST /localapi/v0/logout",
                     "5.300 " + getProfiles}));
    EXPECT_EQ(app.tunnelCommands(), Lines{"5.000 stop"});
    EXPECT_EQ(app.appState->profiles->size(), 2u);
}

TEST(AppViewStateLogout, checksNoTunnelAfterALogout) {
    AppFixture app;
    app.systemExtension->isApproved = true;
    app.run();
    app.system.networkExtension.tunnels.startError = Error{NEVPNErrorDomain, 3, "No way."};
    app.appState->connect();
    app.advance(seconds(1));
    app.appState->logout();
    app.advance(seconds(100));
    EXPECT_EQ(app.count("VPN connection retry 1/3"), 0);
}

TEST(AppViewStateLogout, refillsNothingWhileLoggingOut) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.appState->logout();
    app.advance(seconds(1));
    app.forget();
    app.bus(R"({"State":"Running","Jailed":true,"JailReason":"one",)"
            R"("NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42,"Name":"laptop",)"
            R"("Addresses":["100.64.0.1"]}},)"
            R"("UserProfiles":{"42":{"LoginName":"ann@example.com","DisplayName":"Ann"}}}})");
    app.bus(R"({"State":"NoState"})");
    app.bus(bareMap);
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_EQ(app.stateLines(),
              (Lines{"Received HashiBus state: running", "Received HashiBus state: noState"}));
    EXPECT_EQ(app.requests(), Lines{});
}

TEST(AppViewStateLogout, trustsTheBusAgainOnceTheDaemonNeedsALogin) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.appState->logout();
    app.bus(R"({"State":"NeedsLogin"})");
    app.bus(bareMap);
    EXPECT_TRUE(app.appState->login->isLoggedIn);
    EXPECT_EQ(app.count("connect"), 2);
}

TEST(AppViewStateLogout, trustsTheMapInTheSameMessageThatNeedsALogin) {
    AppFixture app;
    app.startAndForget();
    app.appState->logout();
    app.bus(R"({"State":"NeedsLogin","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_TRUE(app.appState->login->isLoggedIn);
}

TEST(AppViewStateLogout, acceptsALoginPageWhileLoggingOut) {
    AppFixture app;
    app.startAndForget();
    app.appState->logout();
    app.bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/a");
}

TEST(AppViewStateLogout, restoresNoAccountFromAStatusRequestedBeforeTheLogout) {
    AppFixture app;
    app.startAndForget();
    app.answerStatus(R"({"backend_state":"Running"})");
    app.daemon.deliveries["/localapi/v0/status"].delay = seconds(2);
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1.5));
    app.appState->pollForLoginCompletion(); // its first tick comes after the logout
    app.bus(bareMap);
    app.appState->logout();
    app.forget();
    app.advance(seconds(200));
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_EQ(app.count("connect"), 0);
    EXPECT_EQ(app.countRequests(getStatus), 0);
}

TEST(AppViewStateLogout, pollsForTheLoginThatFollowsALogout) {
    AppFixture app;
    app.startAndForget();
    app.appState->logout();
    app.answerStatus(R"({"backend_state":"Running"})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1));
    EXPECT_TRUE(app.appState->login->isLoggedIn);
    EXPECT_EQ(app.count("connect"), 1);
}

TEST(AppViewStateLogout, logsOutEvenWithoutADaemon) {
    AppFixture app;
    app.daemon.refuseConnections();
    app.appState->logout();
    app.advance(seconds(1));
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_EQ(app.lines("HashiBus"), Lines{"Logout failed: Could not open socket"});
    EXPECT_EQ(app.stateLines().back(),
              "Failed to get profiles: Failed to connect to quoxelind socket: Connection refused");
}

} // namespace
} // namespace quoxelin::testing
