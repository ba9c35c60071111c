#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

class AppViewStateLoginPolling : public AppTest {};

TEST_F(AppViewStateLoginPolling, asksForTheStatusASecondAfterTheLoginBegan) {
    appState->pollForLoginCompletion();
    advance(seconds(0.999));
    EXPECT_EQ(requests(), Lines{});
    advance(seconds(0.001));
    EXPECT_EQ(requests(), Lines{getStatus});
}

TEST_F(AppViewStateLoginPolling, sends120StatusRequestsAnd40NudgesForALoginThatNeverCompletes) {
    answerStatus(R"({"backend_state":"NeedsLogin"})");
    appState->pollForLoginCompletion();
    advance(seconds(1000));
    Lines expected;
    for (int tick = 1; tick <= 120; ++tick) {
        if (tick % 3 == 0)
            expected.push_back(fmt::format("{}.000 {}", tick, login));
        expected.push_back(fmt::format("{}.000 {}", tick, getStatus));
    }
    EXPECT_EQ(timedRequests(), expected);
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
}

TEST_F(AppViewStateLoginPolling, asksNothingOnceLoggedIn) {
    startAndForget();
    bus(bareMap);
    run();
    forget();
    appState->pollForLoginCompletion();
    advance(seconds(1));
    EXPECT_EQ(requests(), Lines{});
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
}

TEST_F(AppViewStateLoginPolling, connectsOnceWhenTheStatusReportsTheLogin) {
    appState->pollForLoginCompletion();
    advance(seconds(1.5));
    answerStatus(R"({"backend_state":"Running","self":{"id":9,"host_name":"laptop",)"
                 R"("quoxelin_ips":["100.64.0.1","fd7a::1"]}})");
    advance(seconds(200));
    EXPECT_EQ(timedStateLines(),
              (Lines{"2.000 refreshProfiles called", "2.000 connect",
                     "2.000 System Extension not approved, skipping VPN tunnel start",
                     "2.000 Got 0 profiles", "2.000 daemon WantRunning=true"}));
    EXPECT_EQ(timedRequests(),
              (Lines{"1.000 " + getStatus, "2.000 " + getStatus, "2.000 " + getProfiles,
                     "2.000 " + wantRunningRequest(true)}));
    EXPECT_TRUE(appState->login->isLoggedIn);
    EXPECT_EQ(appState->login->nodeID, 9);
    EXPECT_EQ(appState->login->hostName, "laptop");
    EXPECT_EQ(appState->login->quoxelinIPs, "100.64.0.1,fd7a::1");
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
}

TEST_F(AppViewStateLoginPolling, countsEveryActiveBackendStateAsLoggedInWhateverItsCase) {
    for (const auto* state : {"Running", "RUNNING", "running", "Starting", "sTARTING", "Stopped"}) {
        AppFixture app;
        app.answerStatus(fmt::format(R"({{"backend_state":"{}"}})", state));
        app.appState->pollForLoginCompletion();
        app.advance(seconds(1));
        EXPECT_TRUE(app.appState->login->isLoggedIn) << state;
        EXPECT_EQ(app.count("connect"), 1) << state;
    }
}

TEST_F(AppViewStateLoginPolling, ignoresOtherBackendStates) {
    for (const auto* state : {"NoState", "nostate", "Run", "running ", "", "ｒｕｎｎｉｎｇ"}) {
        AppFixture app;
        app.answerStatus(fmt::format(
            R"({{"backend_state":"{}","interactive_login_url":"https://login.example.com/a"}})",
            state));
        app.appState->pollForLoginCompletion();
        app.advance(seconds(1));
        EXPECT_EQ(app.appState->login.get(), LoginViewState{}) << state;
    }
}

TEST_F(AppViewStateLoginPolling, takesTheLoginPageOfAStatusThatNeedsALogin) {
    answerStatus(R"({"backend_state":"needsLOGIN",)"
                 R"("interactive_login_url":"https://login.example.com/a"})");
    appState->pollForLoginCompletion();
    advance(seconds(1));
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/a");
    answerStatus(R"({"backend_state":"NeedsLogin"})");
    advance(seconds(1));
    EXPECT_EQ(appState->login->interactiveLoginUrl, "");
}

TEST_F(AppViewStateLoginPolling, keepsAddressesThatAStatusLeavesOutOrEmpties) {
    answerStatus(R"({"self":{"id":9,"host_name":"laptop","quoxelin_ips":["100.64.0.1"]}})");
    appState->pollForLoginCompletion();
    advance(seconds(1));
    answerStatus(R"({"self":{"id":10,"quoxelin_ips":[]}})");
    advance(seconds(1));
    EXPECT_EQ(appState->login->quoxelinIPs, "100.64.0.1");
    EXPECT_EQ(appState->login->nodeID, 10);
    EXPECT_EQ(appState->login->hostName, "");
    answerStatus("{}");
    advance(seconds(1));
    EXPECT_EQ(appState->login->nodeID, 10);
}

TEST_F(AppViewStateLoginPolling, entersAndLeavesTheJailByTheStatusToo) {
    answerStatus(R"({"jailed":true,"jail_reason":" \n"})");
    appState->pollForLoginCompletion();
    advance(seconds(3));
    EXPECT_EQ(appState->login->jailedReason, "device posture non-compliant");
    EXPECT_EQ(count("node jailed: device posture non-compliant"), 1);
    EXPECT_EQ(system.userNotificationCenter.requests().size(), 1u);
    answerStatus(R"({"jail_reason":"nobody says jailed"})");
    advance(seconds(1));
    EXPECT_TRUE(appState->login->jailedReason);
    answerStatus(R"({"jailed":false})");
    advance(seconds(1));
    EXPECT_FALSE(appState->login->jailedReason);
    EXPECT_EQ(system.userNotificationCenter.requests().size(), 1u);
}

TEST_F(AppViewStateLoginPolling, publishesNothingForAStatusThatRepeats) {
    answerStatus(R"({"self":{"id":9}})");
    appState->pollForLoginCompletion();
    advance(seconds(50));
    EXPECT_EQ(count("refreshProfiles called"), 1);
}

TEST_F(AppViewStateLoginPolling, asksAgainASecondAfterAnAnswerAndNotBefore) {
    answerStatus("{}");
    daemon.deliveries["/localapi/v0/status"].delay = seconds(0.4);
    appState->pollForLoginCompletion();
    advance(seconds(5));
    EXPECT_EQ(timedRequests(), (Lines{"1.000 " + getStatus, "2.400 " + getStatus, "3.800 " + login,
                                      "3.800 " + getStatus}));
}

TEST_F(AppViewStateLoginPolling, keepsAskingADaemonThatFails) {
    answerStatus("broken", 500);
    appState->pollForLoginCompletion();
    advance(seconds(1.5));
    answerStatus("no json");
    advance(seconds(1));
    answerStatus(R"({"backend_state":"Running"})");
    advance(seconds(10));
    EXPECT_EQ(count("connect"), 1);
    EXPECT_EQ(timedRequests()[2], "3.000 " + login);
}

TEST_F(AppViewStateLoginPolling, stopsAskingADaemonThatNeverAnswers) {
    daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::never());
    appState->pollForLoginCompletion();
    advance(seconds(1000));
    EXPECT_EQ(timedRequests(), Lines{"1.000 " + getStatus});
}

TEST_F(AppViewStateLoginPolling, doesNotWaitForTheAnswerToANudge) {
    daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::never());
    appState->pollForLoginCompletion();
    advance(seconds(4));
    EXPECT_EQ(timedRequests(), (Lines{"1.000 " + getStatus, "2.000 " + getStatus, "3.000 " + login,
                                      "3.000 " + getStatus, "4.000 " + getStatus}));
}

TEST_F(AppViewStateLoginPolling, dropsAStatusThatArrivesAfterTheBusReportedTheLogin) {
    startAndForget();
    daemon.deliveries["/localapi/v0/status"].delay = seconds(5);
    appState->pollForLoginCompletion();
    advance(seconds(2));
    bus(bareMap);
    advance(seconds(100));
    EXPECT_TRUE(appState->login->isLoggedIn);
    EXPECT_EQ(count("connect"), 1);
    EXPECT_EQ(countRequests(getStatus), 1);
    EXPECT_EQ(dispatch.nextInstant(), std::nullopt);
}

TEST_F(AppViewStateLoginPolling, letsPollingRunsOverlap) {
    appState->pollForLoginCompletion();
    advance(seconds(0.5));
    appState->pollForLoginCompletion();
    advance(seconds(1000));
    EXPECT_EQ(countRequests(getStatus), 240);
    EXPECT_EQ(countRequests(login), 80);
    EXPECT_EQ(timedRequests()[1], "1.500 " + getStatus);
    EXPECT_EQ(timedRequests().back(), "120.500 " + getStatus);
}

TEST_F(AppViewStateLoginPolling, connectsOnceForTwoPollingRuns) {
    appState->pollForLoginCompletion();
    appState->pollForLoginCompletion();
    answerStatus(R"({"backend_state":"Running"})");
    advance(seconds(100));
    EXPECT_EQ(count("connect"), 1);
    EXPECT_EQ(countRequests(getStatus), 2);
}

} // namespace
} // namespace quoxelin::testing
