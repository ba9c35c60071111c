#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

TEST(AppViewStateLoginPolling, asksForTheStatusASecondAfterTheLoginBegan) {
    AppFixture app;
    app.appState->pollForLoginCompletion();
    app.advance(seconds(0.999));
    EXPECT_EQ(app.requests(), Lines{});
    app.advance(seconds(0.001));
    EXPECT_EQ(app.requests(), Lines{getStatus});
}

TEST(AppViewStateLoginPolling, sends120StatusRequestsAnd40NudgesForALoginThatNeverCompletes) {
    AppFixture app;
    app.answerStatus(R"({"backend_state":"NeedsLogin"})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1000));
    Lines expected;
    for (int tick = 1; tick <= 120; ++tick) {
        if (tick % 3 == 0)
            expected.push_back(fmt::format("{}.000 {}", tick, login));
        expected.push_back(fmt::format("{}.000 {}", tick, getStatus));
    }
    EXPECT_EQ(app.timedRequests(), expected);
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_EQ(app.dispatch.nextInstant(), std::nullopt);
}

TEST(AppViewStateLoginPolling, asksNothingOnceLoggedIn) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.run();
    app.forget();
    app.appState->pollForLoginCompletion();
    app.advance(seconds(200));
    EXPECT_EQ(app.requests(), Lines{});
    EXPECT_EQ(app.stateLines(), Lines{});
}

TEST(AppViewStateLoginPolling, connectsOnceWhenTheStatusReportsTheLogin) {
    AppFixture app;
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1.5));
    app.answerStatus(R"({"backend_state":"Running","self":{"id":9,"host_name":"laptop",)"
                     R"("quoxelin_ips":["100.64.0.1","fd7a::1"]}})");
    app.advance(seconds(200));
    EXPECT_EQ(app.timedStateLines(),
              (Lines{"2.000 refreshProfiles called", "2.000 connect",
                     "2.000 System Extension not approved, skipping VPN tunnel start",
                     "2.000 Got 0 profiles", "2.000 daemon WantRunning=true"}));
    EXPECT_EQ(app.timedRequests(),
              (Lines{"1.000 " + getStatus, "2.000 " + getStatus, "2.000 " + getProfiles,
                     "2.000 " + app.wantRunningRequest(true)}));
    EXPECT_TRUE(app.appState->login->isLoggedIn);
    EXPECT_EQ(app.appState->login->nodeID, 9);
    EXPECT_EQ(app.appState->login->hostName, "laptop");
    EXPECT_EQ(app.appState->login->quoxelinIPs, "100.64.0.1,fd7a::1");
}

TEST(AppViewStateLoginPolling, countsEveryActiveBackendStateAsLoggedInWhateverItsCase) {
    for (const auto* state : {"Running", "RUNNING", "running", "Starting", "sTARTING", "Stopped"}) {
        AppFixture app;
        app.answerStatus(fmt::format(R"({{"backend_state":"{}"}})", state));
        app.appState->pollForLoginCompletion();
        app.advance(seconds(1));
        EXPECT_TRUE(app.appState->login->isLoggedIn) << state;
        EXPECT_EQ(app.count("connect"), 1) << state;
    }
}

TEST(AppViewStateLoginPolling, ignoresOtherBackendStates) {
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

TEST(AppViewStateLoginPolling, takesTheLoginPageOfAStatusThatNeedsALogin) {
    AppFixture app;
    app.answerStatus(R"({"backend_state":"needsLOGIN",)"
                     R"("interactive_login_url":"https://login.example.com/a"})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1));
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/a");
    app.answerStatus(R"({"backend_state":"NeedsLogin"})");
    app.advance(seconds(1));
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "");
}

TEST(AppViewStateLoginPolling, keepsAddressesThatAStatusLeavesOutOrEmpties) {
    AppFixture app;
    app.answerStatus(R"({"self":{"id":9,"host_name":"laptop","quoxelin_ips":["100.64.0.1"]}})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1));
    app.answerStatus(R"({"self":{"id":10,"quoxelin_ips":[]}})");
    app.advance(seconds(1));
    EXPECT_EQ(app.appState->login->quoxelinIPs, "100.64.0.1");
    EXPECT_EQ(app.appState->login->nodeID, 10);
    EXPECT_EQ(app.appState->login->hostName, "");
    app.answerStatus("{}");
    app.advance(seconds(1));
    EXPECT_EQ(app.appState->login->nodeID, 10);
}

TEST(AppViewStateLoginPolling, entersAndLeavesTheJailByTheStatusToo) {
    AppFixture app;
    app.answerStatus(R"({"jailed":true,"jail_reason":" \n"})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(3));
    EXPECT_EQ(app.appState->login->jailedReason, "device posture non-compliant");
    EXPECT_EQ(app.count("node jailed: device posture non-compliant"), 1);
    EXPECT_EQ(app.system.userNotificationCenter.requests().size(), 1u);
    app.answerStatus(R"({"jail_reason":"nobody says jailed"})");
    app.advance(seconds(1));
    EXPECT_TRUE(app.appState->login->jailedReason);
    app.answerStatus(R"({"jailed":false})");
    app.advance(seconds(1));
    EXPECT_FALSE(app.appState->login->jailedReason);
    EXPECT_EQ(app.system.userNotificationCenter.requests().size(), 1u);
}

TEST(AppViewStateLoginPolling, publishesNothingForAStatusThatRepeats) {
    AppFixture app;
    app.answerStatus(R"({"self":{"id":9}})");
    app.appState->pollForLoginCompletion();
    app.advance(seconds(50));
    EXPECT_EQ(app.count("refreshProfiles called"), 1);
}

TEST(AppViewStateLoginPolling, asksAgainASecondAfterAnAnswerAndNotBefore) {
    AppFixture app;
    app.answerStatus("{}");
    app.daemon.deliveries["/localapi/v0/status"].delay = seconds(0.4);
    app.appState->pollForLoginCompletion();
    app.advance(seconds(5));
    EXPECT_EQ(app.timedRequests(), (Lines{"1.000 " + getStatus, "2.400 " + getStatus,
                                          "3.800 " + login, "3.800 " + getStatus}));
}

TEST(AppViewStateLoginPolling, keepsAskingADaemonThatFails) {
    AppFixture app;
    app.answerStatus("broken", 500);
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1.5));
    app.answerStatus("no json");
    app.advance(seconds(1));
    app.answerStatus(R"({"backend_state":"Running"})");
    app.advance(seconds(10));
    EXPECT_EQ(app.count("connect"), 1);
    EXPECT_EQ(app.timedRequests()[2], "3.000 " + login);
}

TEST(AppViewStateLoginPolling, stopsAskingADaemonThatNeverAnswers) {
    AppFixture app;
    app.daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::never());
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1000));
    EXPECT_EQ(app.timedRequests(), Lines{"1.000 " + getStatus});
}

TEST(AppViewStateLoginPolling, doesNotWaitForTheAnswerToANudge) {
    AppFixture app;
    app.daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::never());
    app.appState->pollForLoginCompletion();
    app.advance(seconds(4));
    EXPECT_EQ(app.timedRequests(),
              (Lines{"1.000 " + getStatus, "2.000 " + getStatus, "3.000 " + login,
                     "3.000 " + getStatus, "4.000 " + getStatus}));
}

TEST(AppViewStateLoginPolling, dropsAStatusThatArrivesAfterTheBusReportedTheLogin) {
    AppFixture app;
    app.startAndForget();
    app.daemon.deliveries["/localapi/v0/status"].delay = seconds(5);
    app.appState->pollForLoginCompletion();
    app.advance(seconds(2));
    app.bus(bareMap);
    app.advance(seconds(100));
    EXPECT_TRUE(app.appState->login->isLoggedIn);
    EXPECT_EQ(app.count("connect"), 1);
    EXPECT_EQ(app.countRequests(getStatus), 1);
}

TEST(AppViewStateLoginPolling, letsPollingRunsOverlap) {
    AppFixture app;
    app.appState->pollForLoginCompletion();
    app.advance(seconds(0.5));
    app.appState->pollForLoginCompletion();
    app.advance(seconds(1000));
    EXPECT_EQ(app.countRequests(getStatus), 240);
    EXPECT_EQ(app.countRequests(login), 80);
    EXPECT_EQ(app.timedRequests()[1], "1.500 " + getStatus);
    EXPECT_EQ(app.timedRequests().back(), "120.500 " + getStatus);
}

TEST(AppViewStateLoginPolling, connectsOnceForTwoPollingRuns) {
    AppFixture app;
    app.appState->pollForLoginCompletion();
    app.appState->pollForLoginCompletion();
    app.answerStatus(R"({"backend_state":"Running"})");
    app.advance(seconds(100));
    EXPECT_EQ(app.count("connect"), 1);
    EXPECT_EQ(app.countRequests(getStatus), 2);
}

} // namespace
} // namespace quoxelin::testing
