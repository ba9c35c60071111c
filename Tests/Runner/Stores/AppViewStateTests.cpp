#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

LoginViewState ann() {
    LoginViewState s;
    s.isLoggedIn = true;
    s.userName = "Ann";
    s.email = "ann@example.com";
    s.hostName = "laptop";
    s.nodeID = 7;
    s.quoxelinIPs = "100.64.0.1,fd7a::1";
    return s;
}

// Construction and start

TEST(AppViewState, usesNeitherBusNorDaemonBeforeItIsStarted) {
    AppFixture app;
    app.advance(seconds(10));
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_EQ(app.requests(), Lines{});
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_TRUE(app.appState->profiles->empty());
    EXPECT_EQ(app.appState->currentProfileId.get(), "");
    EXPECT_FALSE(app.appState->helperNeedsApproval.get());
    EXPECT_EQ(app.appState->helperRegistrationError.get(), std::nullopt);
}

TEST(AppViewState, followsTheDaemonOnceStarted) {
    AppFixture app;
    app.appState->start();
    app.run();
    EXPECT_EQ(app.stateLines(), (Lines{"start() called", "HashiBus connected"}));
    EXPECT_EQ(app.requests(), Lines{"GET /localapi/v0/observe-hashi-bus"});
}

TEST(AppViewState, knowsNoTunnelStatusBeforeTheNextTurn) {
    AppFixture app;
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::unknown);
    app.run();
    EXPECT_EQ(app.appState->vpn->status, VPNConnectionStatus::disconnected);
}

TEST(AppViewState, mirrorsEveryTunnelStatusALaterTurn) {
    AppFixture app;
    app.run();
    std::vector<VPNConnectionStatus> seen;
    const auto subscription =
        app.appState->vpn.subscribe([&](const VpnViewState& vpn) { seen.push_back(vpn.status); });
    seen.clear();

    app.tunnel->connectionStatus = VPNConnectionStatus::connecting;
    app.tunnel->connectionStatus = VPNConnectionStatus::connecting;
    app.tunnel->connectionStatus = VPNConnectionStatus::error;
    EXPECT_TRUE(seen.empty());
    app.run();
    EXPECT_EQ(seen, (std::vector{VPNConnectionStatus::connecting, VPNConnectionStatus::connecting,
                                 VPNConnectionStatus::error}));
}

// Bus messages

TEST(AppViewState, handlesABusMessageATurnLater) {
    AppFixture app;
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    notify.interactiveLoginUrl = "https://login.example.com/a";
    app.appState->hashiBusDidReceiveNotify(notify);
    notify.interactiveLoginUrl = "changed afterward";
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "");
    app.run();
    EXPECT_EQ(app.stateLines().front(), "Received HashiBus state: running");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/a");
}

TEST(AppViewState, logsEveryBackendStateByItsName) {
    AppFixture app;
    app.startAndForget();
    for (const auto* state : {"NoState", "NeedsLogin", "Stopped", "Starting", "Running", "Odd"})
        app.bus(std::string(R"({"State":")") + state + R"("})");
    EXPECT_EQ(app.stateLines(),
              (Lines{"Received HashiBus state: noState", "Received HashiBus state: needsLogin",
                     "Received HashiBus state: stopped", "Received HashiBus state: starting",
                     "Received HashiBus state: running", "Received HashiBus state: noState"}));
    EXPECT_EQ(app.requests(), Lines{});
}

TEST(AppViewState, takesNodeAndUserFromTheNetworkMap) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    EXPECT_EQ(app.appState->login.get(), ann());
}

TEST(AppViewState, joinsTheAddressesInOrderWithoutSpaces) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    EXPECT_EQ(app.appState->login->quoxelinIPs, "100.64.0.1,fd7a::1");
}

TEST(AppViewState, keepsAddressesThatAMapLeavesOutAndDropsThoseItEmpties) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(bareMap);
    EXPECT_EQ(app.appState->login->quoxelinIPs, "100.64.0.1,fd7a::1");
    app.bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42,"Addresses":[]}}}})");
    EXPECT_EQ(app.appState->login->quoxelinIPs, "");
}

TEST(AppViewState, emptiesTheHostNameOfANodeWithoutAName) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(bareMap);
    EXPECT_EQ(app.appState->login->hostName, "");
    EXPECT_EQ(app.appState->login->nodeID, 7);
}

TEST(AppViewState, keepsNameAndEmailIfTheMapLacksTheUser) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":8,"UserID":43}},)"
            R"("UserProfiles":{"42":{"LoginName":"other","DisplayName":"Other"}}}})");
    EXPECT_EQ(app.appState->login->nodeID, 8);
    EXPECT_EQ(app.appState->login->email, "ann@example.com");
    EXPECT_EQ(app.appState->login->userName, "Ann");
}

TEST(AppViewState, findsTheUserOfANegativeIdentifier) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":8,"UserID":-5}},)"
            R"("UserProfiles":{"-5":{"LoginName":"min@example.com"}}}})");
    EXPECT_EQ(app.appState->login->email, "min@example.com");
}

TEST(AppViewState, showsTheEmailOfAUserWithoutADisplayName) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}},)"
            R"("UserProfiles":{"42":{"LoginName":"new@example.com"}}}})");
    EXPECT_EQ(app.appState->login->email, "new@example.com");
    EXPECT_EQ(app.appState->login->userName, "new@example.com");
}

TEST(AppViewState, keepsTheEmailOfAUserWithoutALoginName) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}},"UserProfiles":{"42":{}}}})");
    EXPECT_EQ(app.appState->login->email, "ann@example.com");
    EXPECT_EQ(app.appState->login->userName, "ann@example.com");
}

TEST(AppViewState, ignoresAMapWithoutThisNode) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"NetMap":{"UserProfiles":{"0":{"LoginName":"nobody"}}}})");
    app.bus(R"({"NetMap":{"SelfNode":{}}})");
    app.bus(R"({"NetMap":{"SelfNode":{"Node":null}}})");
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_EQ(app.requests(), Lines{});
}

TEST(AppViewState, prefersTheMapToTheStateOfTheSameMessage) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"State":"NeedsLogin","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_TRUE(app.appState->login->isLoggedIn);
}

TEST(AppViewState, logsOutWhenTheDaemonNeedsALogin) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"State":"NeedsLogin"})");
    auto expected = ann();
    expected.isLoggedIn = false;
    EXPECT_EQ(app.appState->login.get(), expected);
}

// The login page

TEST(AppViewState, keepsTheLoginPageUntilTheLogin) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/a");
    app.bus(R"({"InteractiveLoginUrl":""})");
    app.bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/a");
    app.bus(bareMap);
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "");
}

TEST(AppViewState, acceptsALoginPageEvenWhileLoggedIn) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.bus(R"({"InteractiveLoginUrl":"https://login.example.com/b"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/b");
    app.bus(R"({"State":"Running"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "");
}

TEST(AppViewState, keepsTheLoginPageOfAMessageThatLogsOut) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.bus(R"({"InteractiveLoginUrl":"https://login.example.com/c"})");
    app.bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(app.appState->login->interactiveLoginUrl, "https://login.example.com/c");
}

// Jail

TEST(AppViewState, notifiesOnceOfBecomingJailed) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true,"JailReason":"disk not encrypted"})");
    app.bus(R"({"Jailed":true,"JailReason":"disk not encrypted"})");
    EXPECT_EQ(app.appState->login->jailedReason, "disk not encrypted");
    const auto notifications = app.system.userNotificationCenter.requests();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].title, "Quoxelin");
    EXPECT_EQ(notifications[0].body,
              "デバイスポリシーを満たしていないため、通信がブロックされています");
    EXPECT_EQ(app.stateLines(), (Lines{"refreshProfiles called", "node jailed: disk not encrypted",
                                       "Got 0 profiles"}));
}

TEST(AppViewState, givesAJailWithoutAReasonAFixedOne) {
    for (const auto* message : {R"({"Jailed":true})", R"({"Jailed":true,"JailReason":""})",
                                R"({"Jailed":true,"JailReason":"  \n"})",
                                R"({"Jailed":true,"JailReason":"\u3000\u2028"})"}) {
        AppFixture app;
        app.startAndForget();
        app.bus(message);
        app.bus(message);
        EXPECT_EQ(app.appState->login->jailedReason, "device posture non-compliant") << message;
        EXPECT_EQ(app.system.userNotificationCenter.requests().size(), 1u) << message;
    }
}

TEST(AppViewState, trimsTheJailReason) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true,"JailReason":"\r\n\u00a0\u3000ディスク 暗号化なし\t\n"})");
    EXPECT_EQ(app.appState->login->jailedReason, "ディスク 暗号化なし");
}

TEST(AppViewState, doesNotNotifyOfAnotherReasonOrOfLeavingTheJail) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true,"JailReason":"one"})");
    app.bus(R"({"Jailed":true,"JailReason":"two"})");
    EXPECT_EQ(app.appState->login->jailedReason, "two");
    app.bus(R"({"JailReason":"three"})");
    EXPECT_EQ(app.appState->login->jailedReason, "two");
    app.bus(R"({"Jailed":false,"JailReason":"four"})");
    EXPECT_EQ(app.appState->login->jailedReason, std::nullopt);
    EXPECT_EQ(app.system.userNotificationCenter.requests().size(), 1u);
    app.bus(R"({"Jailed":true,"JailReason":"five"})");
    EXPECT_EQ(app.system.userNotificationCenter.requests().size(), 2u);
}

TEST(AppViewState, leavesTheJailButNotTheAccountWithoutABackendState) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"Jailed":true,"JailReason":"one"})");
    app.bus(R"({"State":"NoState"})");
    EXPECT_EQ(app.appState->login.get(), ann());
}

TEST(AppViewState, leavesTheJailWithTheAccount) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.bus(R"({"Jailed":true,"JailReason":"one"})");
    app.bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(app.appState->login->jailedReason, std::nullopt);
    EXPECT_FALSE(app.appState->login->isLoggedIn);
}

TEST(AppViewState, staysJailedInEveryOtherState) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true,"JailReason":"one"})");
    for (const auto* state : {"Stopped", "Starting", "Running"})
        app.bus(std::string(R"({"State":")") + state + R"("})");
    EXPECT_EQ(app.appState->login->jailedReason, "one");
}

TEST(AppViewState, prefersTheJailToTheStateOfTheSameMessage) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"State":"NoState","Jailed":true,"JailReason":"one"})");
    EXPECT_EQ(app.appState->login->jailedReason, "one");
}

// Publishing

TEST(AppViewState, publishesNothingForAMessageThatRepeats) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.advance(seconds(10));
    app.forget();
    int changes = 0;
    const auto subscription = app.appState->objectWillChange([&] { ++changes; });
    app.bus(annsMap);
    app.bus("{}");
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_EQ(app.requests(), Lines{});
}

TEST(AppViewState, publishesThenRefreshesThenNotifiesThenConnects) {
    AppFixture app;
    app.startAndForget();
    std::vector<std::string> published;
    const auto subscription = app.appState->login.subscribe([&](const LoginViewState& s) {
        if (s.isLoggedIn)
            published = app.stateLines();
    });
    app.bus(R"({"State":"Running","Jailed":true,"JailReason":"one",)"
            R"("NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_EQ(published, Lines{"Received HashiBus state: running"});
    EXPECT_EQ(app.stateLines(), (Lines{"Received HashiBus state: running", "refreshProfiles called",
                                       "node jailed: one", "connect",
                                       "System Extension not approved, skipping VPN tunnel start",
                                       "Got 0 profiles", "daemon WantRunning=true"}));
    EXPECT_EQ(app.requests(), (Lines{"GET /localapi/v0/profiles", app.wantRunningRequest(true)}));
}

TEST(AppViewState, connectsOnceForOneLogin) {
    AppFixture app;
    app.startAndForget();
    app.bus(bareMap);
    app.bus(annsMap);
    app.bus(R"({"State":"Running"})");
    EXPECT_EQ(app.count("connect"), 1);
    app.bus(R"({"State":"NeedsLogin"})");
    app.bus(annsMap);
    EXPECT_EQ(app.count("connect"), 2);
}

TEST(AppViewState, doesNotConnectForAnythingButALogin) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"State":"Running"})");
    app.bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    app.bus(R"({"Jailed":true})");
    EXPECT_EQ(app.count("connect"), 0);
}

} // namespace
} // namespace quoxelin::testing
