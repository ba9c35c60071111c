#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

class AppViewStateTest : public AppTest {};

/// The store follows the daemon's stream.
class AppViewStateOnTheBus : public AppTest {
  protected:
    AppViewStateOnTheBus() { startAndForget(); }
};

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

TEST_F(AppViewStateTest, usesNeitherBusNorDaemonBeforeItIsStarted) {
    advance(seconds(10));
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(requests(), Lines{});
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_TRUE(appState->profiles->empty());
    EXPECT_EQ(appState->currentProfileId.get(), "");
    EXPECT_FALSE(appState->helperNeedsApproval.get());
    EXPECT_EQ(appState->helperRegistrationError.get(), std::nullopt);
}

TEST_F(AppViewStateTest, followsTheDaemonOnceStarted) {
    appState->start();
    run();
    EXPECT_EQ(stateLines(), (Lines{"start() called", "HashiBus connected"}));
    EXPECT_EQ(requests(), Lines{"GET /localapi/v0/observe-hashi-bus"});
}

TEST_F(AppViewStateTest, knowsNoTunnelStatusBeforeTheNextTurn) {
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::unknown);
    run();
    EXPECT_EQ(appState->vpn->status, VPNConnectionStatus::disconnected);
}

TEST_F(AppViewStateTest, mirrorsEveryTunnelStatusALaterTurn) {
    run();
    std::vector<VPNConnectionStatus> seen;
    const auto subscription =
        appState->vpn.subscribe([&](const VpnViewState& vpn) { seen.push_back(vpn.status); });
    seen.clear();

    tunnel->connectionStatus = VPNConnectionStatus::connecting;
    tunnel->connectionStatus = VPNConnectionStatus::connecting;
    tunnel->connectionStatus = VPNConnectionStatus::error;
    EXPECT_TRUE(seen.empty());
    run();
    EXPECT_EQ(seen, (std::vector{VPNConnectionStatus::connecting, VPNConnectionStatus::connecting,
                                 VPNConnectionStatus::error}));
}

// Bus messages

TEST_F(AppViewStateTest, handlesABusMessageATurnLater) {
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    notify.interactiveLoginUrl = "https://login.example.com/a";
    appState->hashiBusDidReceiveNotify(notify);
    notify.interactiveLoginUrl = "changed afterward";
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(appState->login->interactiveLoginUrl, "");
    run();
    EXPECT_EQ(stateLines().front(), "Received HashiBus state: running");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/a");
}

TEST_F(AppViewStateOnTheBus, logsEveryBackendStateByItsName) {
    for (const auto* state : {"NoState", "NeedsLogin", "Stopped", "Starting", "Running", "Odd"})
        bus(std::string(R"({"State":")") + state + R"("})");
    EXPECT_EQ(stateLines(),
              (Lines{"Received HashiBus state: noState", "Received HashiBus state: needsLogin",
                     "Received HashiBus state: stopped", "Received HashiBus state: starting",
                     "Received HashiBus state: running", "Received HashiBus state: noState"}));
    EXPECT_EQ(requests(), Lines{});
}

TEST_F(AppViewStateOnTheBus, takesNodeAndUserFromTheNetworkMap) {
    bus(annsMap);
    EXPECT_EQ(appState->login.get(), ann());
}

TEST_F(AppViewStateOnTheBus, keepsAddressesThatAMapLeavesOutAndDropsThoseItEmpties) {
    bus(annsMap);
    bus(bareMap);
    EXPECT_EQ(appState->login->quoxelinIPs, "100.64.0.1,fd7a::1");
    bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42,"Addresses":[]}}}})");
    EXPECT_EQ(appState->login->quoxelinIPs, "");
}

TEST_F(AppViewStateOnTheBus, emptiesTheHostNameOfANodeWithoutAName) {
    bus(annsMap);
    bus(bareMap);
    EXPECT_EQ(appState->login->hostName, "");
    EXPECT_EQ(appState->login->nodeID, 7);
}

TEST_F(AppViewStateOnTheBus, keepsNameAndEmailIfTheMapLacksTheUser) {
    bus(annsMap);
    bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":8,"UserID":43}},)"
        R"("UserProfiles":{"42":{"LoginName":"other","DisplayName":"Other"}}}})");
    EXPECT_EQ(appState->login->nodeID, 8);
    EXPECT_EQ(appState->login->email, "ann@example.com");
    EXPECT_EQ(appState->login->userName, "Ann");
}

TEST_F(AppViewStateOnTheBus, findsTheUserOfANegativeIdentifier) {
    bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":8,"UserID":-5}},)"
        R"("UserProfiles":{"-5":{"LoginName":"min@example.com"}}}})");
    EXPECT_EQ(appState->login->email, "min@example.com");
}

TEST_F(AppViewStateOnTheBus, showsTheEmailOfAUserWithoutADisplayName) {
    bus(annsMap);
    bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}},)"
        R"("UserProfiles":{"42":{"LoginName":"new@example.com"}}}})");
    EXPECT_EQ(appState->login->email, "new@example.com");
    EXPECT_EQ(appState->login->userName, "new@example.com");
}

TEST_F(AppViewStateOnTheBus, keepsTheEmailOfAUserWithoutALoginName) {
    bus(annsMap);
    bus(R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}},"UserProfiles":{"42":{}}}})");
    EXPECT_EQ(appState->login->email, "ann@example.com");
    EXPECT_EQ(appState->login->userName, "ann@example.com");
}

TEST_F(AppViewStateOnTheBus, ignoresAMapWithoutThisNode) {
    bus(R"({"NetMap":{"UserProfiles":{"0":{"LoginName":"nobody"}}}})");
    bus(R"({"NetMap":{"SelfNode":{}}})");
    bus(R"({"NetMap":{"SelfNode":{"Node":null}}})");
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_EQ(requests(), Lines{});
}

TEST_F(AppViewStateOnTheBus, prefersTheMapToTheStateOfTheSameMessage) {
    bus(R"({"State":"NeedsLogin","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_TRUE(appState->login->isLoggedIn);
}

TEST_F(AppViewStateOnTheBus, logsOutWhenTheDaemonNeedsALogin) {
    bus(annsMap);
    bus(R"({"State":"NeedsLogin"})");
    auto expected = ann();
    expected.isLoggedIn = false;
    EXPECT_EQ(appState->login.get(), expected);
}

// The login page

TEST_F(AppViewStateOnTheBus, keepsTheLoginPageUntilTheLogin) {
    bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/a");
    bus(R"({"InteractiveLoginUrl":""})");
    bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/a");
    bus(bareMap);
    EXPECT_EQ(appState->login->interactiveLoginUrl, "");
}

TEST_F(AppViewStateOnTheBus, acceptsALoginPageEvenWhileLoggedIn) {
    bus(bareMap);
    bus(R"({"InteractiveLoginUrl":"https://login.example.com/b"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/b");
    bus(R"({"State":"Running"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "");
}

TEST_F(AppViewStateOnTheBus, keepsTheLoginPageOfAMessageThatLogsOut) {
    bus(bareMap);
    bus(R"({"InteractiveLoginUrl":"https://login.example.com/c"})");
    bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(appState->login->interactiveLoginUrl, "https://login.example.com/c");
}

// Jail

TEST_F(AppViewStateOnTheBus, notifiesOnceOfBecomingJailed) {
    bus(R"({"Jailed":true,"JailReason":"disk not encrypted"})");
    bus(R"({"Jailed":true,"JailReason":"disk not encrypted"})");
    EXPECT_EQ(appState->login->jailedReason, "disk not encrypted");
    const auto notifications = system.userNotificationCenter.requests();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].title, "Quoxelin");
    EXPECT_EQ(notifications[0].body,
              "デバイスポリシーを満たしていないため、通信がブロックされています");
    EXPECT_EQ(stateLines(), (Lines{"refreshProfiles called", "node jailed: disk not encrypted",
                                   "Got 0 profiles"}));
}

TEST_F(AppViewStateTest, givesAJailWithoutAReasonAFixedOne) {
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

TEST_F(AppViewStateOnTheBus, trimsTheJailReason) {
    bus(R"({"Jailed":true,"JailReason":"\r\n\u00a0\u3000ディスク 暗号化なし\t\n"})");
    EXPECT_EQ(appState->login->jailedReason, "ディスク 暗号化なし");
}

TEST_F(AppViewStateOnTheBus, doesNotNotifyOfAnotherReasonOrOfLeavingTheJail) {
    bus(R"({"Jailed":true,"JailReason":"one"})");
    bus(R"({"Jailed":true,"JailReason":"two"})");
    EXPECT_EQ(appState->login->jailedReason, "two");
    bus(R"({"JailReason":"three"})");
    EXPECT_EQ(appState->login->jailedReason, "two");
    bus(R"({"Jailed":false,"JailReason":"four"})");
    EXPECT_EQ(appState->login->jailedReason, std::nullopt);
    EXPECT_EQ(system.userNotificationCenter.requests().size(), 1u);
    bus(R"({"Jailed":true,"JailReason":"five"})");
    EXPECT_EQ(system.userNotificationCenter.requests().size(), 2u);
}

TEST_F(AppViewStateOnTheBus, leavesTheJailButNotTheAccountWithoutABackendState) {
    bus(annsMap);
    bus(R"({"Jailed":true,"JailReason":"one"})");
    bus(R"({"State":"NoState"})");
    EXPECT_EQ(appState->login.get(), ann());
}

TEST_F(AppViewStateOnTheBus, leavesTheJailWithTheAccount) {
    bus(annsMap);
    bus(R"({"Jailed":true,"JailReason":"one"})");
    bus(R"({"State":"NeedsLogin"})");
    EXPECT_EQ(appState->login->jailedReason, std::nullopt);
    EXPECT_FALSE(appState->login->isLoggedIn);
}

TEST_F(AppViewStateOnTheBus, staysJailedInEveryOtherState) {
    bus(R"({"Jailed":true,"JailReason":"one"})");
    for (const auto* state : {"Stopped", "Starting", "Running"})
        bus(std::string(R"({"State":")") + state + R"("})");
    EXPECT_EQ(appState->login->jailedReason, "one");
}

TEST_F(AppViewStateOnTheBus, prefersTheJailToTheStateOfTheSameMessage) {
    bus(R"({"State":"NoState","Jailed":true,"JailReason":"one"})");
    EXPECT_EQ(appState->login->jailedReason, "one");
}

// Publishing

TEST_F(AppViewStateOnTheBus, publishesNothingForAMessageThatRepeats) {
    bus(annsMap);
    advance(seconds(10));
    forget();
    int changes = 0;
    const auto subscription = appState->objectWillChange([&] { ++changes; });
    bus(annsMap);
    bus("{}");
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(requests(), Lines{});
}

TEST_F(AppViewStateOnTheBus, publishesThenRefreshesThenNotifiesThenConnects) {
    std::vector<std::string> published;
    const auto subscription = appState->login.subscribe([&](const LoginViewState& s) {
        if (s.isLoggedIn)
            published = stateLines();
    });
    bus(R"({"State":"Running","Jailed":true,"JailReason":"one",)"
        R"("NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    EXPECT_EQ(published, Lines{"Received HashiBus state: running"});
    EXPECT_EQ(stateLines(), (Lines{"Received HashiBus state: running", "refreshProfiles called",
                                   "node jailed: one", "connect",
                                   "System Extension not approved, skipping VPN tunnel start",
                                   "Got 0 profiles", "daemon WantRunning=true"}));
    EXPECT_EQ(requests(), (Lines{"GET /localapi/v0/profiles", wantRunningRequest(true)}));
}

TEST_F(AppViewStateOnTheBus, connectsOnceForOneLogin) {
    bus(bareMap);
    bus(annsMap);
    bus(R"({"State":"Running"})");
    EXPECT_EQ(count("connect"), 1);
    bus(R"({"State":"NeedsLogin"})");
    bus(annsMap);
    EXPECT_EQ(count("connect"), 2);
}

TEST_F(AppViewStateOnTheBus, doesNotConnectForAnythingButALogin) {
    bus(R"({"State":"Running"})");
    bus(R"({"InteractiveLoginUrl":"https://login.example.com/a"})");
    bus(R"({"Jailed":true})");
    EXPECT_EQ(count("connect"), 0);
}

} // namespace
} // namespace quoxelin::testing
