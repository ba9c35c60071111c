#include "Simulation/Steering/Steering.h"

#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SteeringTest : public ::testing::Test {
  protected:
    using Lines = std::vector<std::string>;

    SteeringTest() { addAllCommands(steering, system); }

    /// The answers to a line that are there when it was taken.
    Lines answersTo(std::string_view line) {
        answers.clear();
        steering.take(line);
        return answers;
    }

    std::string answerTo(std::string_view line) {
        const auto lines = answersTo(line);
        return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " answers";
    }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    Lines answers;
    Steering steering{dispatch, [this](const std::string& line) { answers.push_back(line); }};
};

TEST_F(SteeringTest, answersWithTheCommandAndItsIdentifier) {
    EXPECT_EQ(answerTo(R"({"do":"kill-helper"})"), R"({"ok":true,"do":"kill-helper"})");
    EXPECT_EQ(answerTo(R"({"id":7,"do":"kill-helper"})"),
              R"({"ok":true,"do":"kill-helper","id":7})");
    EXPECT_EQ(answerTo(R"({"id":"a\"b","do":"kill-helper"})"),
              R"({"ok":true,"do":"kill-helper","id":"a\"b"})");
    EXPECT_EQ(answerTo(R"({"id":[1],"do":"kill-helper"})"), R"({"ok":true,"do":"kill-helper"})");
}

TEST_F(SteeringTest, passesOverEmptyLines) {
    EXPECT_EQ(answersTo(""), Lines());
    EXPECT_EQ(answersTo(" \t\r"), Lines());
}

TEST_F(SteeringTest, answersABadLineWithAnErrorAndGoesOn) {
    for (const auto* const line : {"{",
                                   "approve-extension",
                                   "\xFF",
                                   "[]",
                                   "7",
                                   "{}",
                                   R"({"do":7})",
                                   R"({"do":""})",
                                   R"({"do":"no-such-command"})",
                                   R"({"do":"helper"} {"do":"helper"})",
                                   R"({"do":"helper","state":"gone"})",
                                   R"({"do":"helper","state":1})",
                                   R"({"do":"helper","delay":-1})",
                                   R"({"do":"helper","delay":1e300})",
                                   R"({"do":"helper","delay":"1"})",
                                   R"({"do":"helper","dealy":1})",
                                   R"({"do":"helper-output","argument":"up"})",
                                   R"({"do":"vpn","comes-up":1})",
                                   R"({"do":"extension","result":1.5})",
                                   R"({"do":"fail-extension","error":5})",
                                   R"({"do":"fail-extension","error":{}})",
                                   R"({"do":"fail-extension","error":{"code":4,"colour":"red"}})",
                                   R"({"do":"end-activations"})",
                                   R"({"do":"approve-service","service":"printer"})",
                                   R"({"do":"drop-vpn"})",
                                   R"({"do":"drop-vpn","place":-1})",
                                   R"({"do":"remove-vpn-configuration","place":4})",
                                   R"({"do":"click-status-item"})",
                                   R"({"do":"choose-menu-item","title":"Nothing"})",
                                   R"({"do":"cancel-open-panel"})",
                                   R"({"do":"wait"})",
                                   R"({"do":"wait","moon":1})"}) {
        const auto answer = answerTo(line);
        EXPECT_EQ(answer.rfind("{\"ok\":false", 0), 0u) << line << " -> " << answer;
        EXPECT_NE(answer.find("\"error\":\""), std::string::npos) << line << " -> " << answer;
    }
    EXPECT_EQ(answerTo(R"({"do":"help"})").rfind(R"({"ok":true,"do":"help","commands":[")", 0), 0u);
}

TEST_F(SteeringTest, saysWhatIsWrong) {
    EXPECT_EQ(answerTo(R"({"do":"helper","state":"gone","id":1})"),
              R"({"ok":false,"do":"helper","id":1,"error":)"
              R"("\"state\" must be one of answering, silent, missing, incompatible"})");
    EXPECT_EQ(answerTo(R"({"do":"helper","dealy":1})"),
              R"({"ok":false,"do":"helper","error":"\"dealy\" is not understood here"})");
    EXPECT_EQ(answerTo(R"({"do":"fail-extension","error":{}})"),
              R"({"ok":false,"do":"fail-extension","error":"in \"error\": \"code\" is missing"})");
}

TEST_F(SteeringTest, doesNothingUnlessTheWholeCommandIsGood) {
    answerTo(R"({"do":"extension","version":"9","result":"one"})");
    EXPECT_EQ(system.systemExtensions.bundledVersion, "1.0");
}

TEST_F(SteeringTest, letsTheShellAddCommandsOfItsOwn) {
    std::optional<SteeringReply> owed;
    steering.add("press", [&](SteeringReader& reader) -> SteeringEffect {
        const auto label = reader.requiredText("label");
        return [&owed, label](const SteeringReply& reply) {
            EXPECT_EQ(label, "Connect");
            owed = reply;
        };
    });
    EXPECT_EQ(answersTo(R"({"do":"press","label":"Connect","id":3})"), Lines());
    owed->ok([](json::Writer& members) {
        members.key("pressed");
        members.integer(1);
    });
    EXPECT_EQ(answers, Lines{R"({"ok":true,"do":"press","id":3,"pressed":1})"});
    EXPECT_NE(answerTo(R"({"do":"help"})").find("\"press\""), std::string::npos);
}

TEST_F(SteeringTest, steersTheExtension) {
    answerTo(R"({"do":"extension","delay":0.5,"answers":false,"probe-answers":false,)"
             R"("result":1,"version":"2.0"})");
    EXPECT_EQ(system.systemExtensions.answerDelay, seconds(0.5));
    EXPECT_FALSE(system.systemExtensions.answersActivations);
    EXPECT_FALSE(system.systemExtensions.answersProperties);
    EXPECT_EQ(system.systemExtensions.result, 1);
    EXPECT_EQ(system.systemExtensions.bundledVersion, "2.0");
    answerTo(R"({"do":"fail-extension","error":{"code":4,"description":"Not found"}})");
    EXPECT_EQ(system.systemExtensions.activationError,
              (Error{OSSystemExtensionErrorDomain, 4, "Not found"}));
    answerTo(R"({"do":"fail-extension"})");
    EXPECT_EQ(system.systemExtensions.activationError, std::nullopt);
    answerTo(R"({"do":"install-extension","version":"0.9","enabled":false})");
    EXPECT_EQ(answerTo(R"({"do":"extension-state"})"),
              R"({"ok":true,"do":"extension-state","outstanding":0,"activations":0,"probes":0,)"
              R"("extensions":[{"identifier":"com.quoxelin.desktop.PacketTunnel",)"
              R"("version":"0.9","enabled":false,"awaiting-approval":false}]})");
}

TEST_F(SteeringTest, steersTheVpn) {
    answerTo(R"({"do":"vpn","connect-seconds":3,"disconnect-seconds":0,"comes-up":false})");
    EXPECT_EQ(system.networkExtension.tunnels.connectDuration, seconds(3));
    EXPECT_EQ(system.networkExtension.tunnels.disconnectDuration, seconds(0));
    EXPECT_FALSE(system.networkExtension.tunnels.comeUp);
    answerTo(R"({"do":"fail-vpn","operation":"save","error":{"code":5,"domain":"D"}})");
    EXPECT_EQ(system.networkExtension.errors.at(SimulatedNetworkExtension::Operation::save),
              (Error{"D", 5, "The operation failed."}));
    answerTo(R"({"do":"fail-vpn","operation":"save"})");
    EXPECT_TRUE(system.networkExtension.errors.empty());
    answerTo(
        R"({"do":"add-vpn-configuration","provider":"org.other.Tunnel","description":"Other"})");
    EXPECT_EQ(answerTo(R"({"do":"vpn-state"})"),
              R"({"ok":true,"do":"vpn-state","configurations":[{"provider":"org.other.Tunnel",)"
              R"("description":"Other","enabled":true,"status":1}],"requests":[]})");
    answerTo(R"({"do":"report-vpn-status","status":3})");
    EXPECT_EQ(system.networkExtension.tunnel().status(), 3);
    answerTo(R"({"do":"drop-vpn","place":0})");
    EXPECT_EQ(system.networkExtension.tunnel().status(), 1);
    answerTo(R"({"do":"remove-vpn-configuration"})");
    EXPECT_TRUE(system.networkExtension.configurations().empty());
}

TEST_F(SteeringTest, steersTheHelper) {
    answerTo(R"({"do":"helper","state":"silent","delay":1.5})");
    answerTo(R"({"do":"helper-output","argument":"up","output":"ok"})");
    const auto connection = system.xpc.privilegedConnection("service");
    connection->resume();
    connection->remoteObjectProxyWithErrorHandler(
        [](const Error&) {},
        [](const auto& proxy) {
            proxy->runGoToolWithPath("/bin/tool", {"up", "now"}, [](const std::string&) {});
        });
    EXPECT_EQ(answerTo(R"({"do":"helper-messages"})"),
              R"({"ok":true,"do":"helper-messages","messages":[{"path":"/bin/tool",)"
              R"("arguments":["up","now"]}]})");
    answerTo(R"({"do":"close-helper-connections"})");
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(SteeringTest, steersTheRegistrations) {
    answerTo(R"({"do":"require-service-approval","service":"helper"})");
    static_cast<void>(
        system.serviceManagement.daemonRegistration(simulatedHelperPlistName).registerService());
    EXPECT_EQ(answerTo(R"({"do":"service-state"})"),
              R"({"ok":true,"do":"service-state","login-item":0,"helper":2})");
    answerTo(R"({"do":"approve-service","service":"helper"})");
    answerTo(R"({"do":"fail-service","service":"login-item","error":{"code":3}})");
    EXPECT_FALSE(system.serviceManagement.mainAppRegistration().registerService().has_value());
    EXPECT_EQ(answerTo(R"({"do":"service-state"})"),
              R"({"ok":true,"do":"service-state","login-item":0,"helper":1})");
    answerTo(R"({"do":"revoke-service","service":"helper"})");
    EXPECT_EQ(system.serviceManagement.daemonRegistration(simulatedHelperPlistName).status(), 2);
}

TEST_F(SteeringTest, tellsTheNotifications) {
    answerTo(R"({"do":"answer-notifications","granted":true})");
    system.userNotificationCenter.add({"id", "Title", "Body \"quoted\"", false});
    EXPECT_EQ(answerTo(R"({"do":"notifications"})"),
              R"({"ok":true,"do":"notifications","added":1,"delivered":[{"identifier":"id",)"
              R"("title":"Title","body":"Body \"quoted\""}]})");
}

TEST_F(SteeringTest, steersUpdatesAndScripts) {
    const auto controller = system.updates.makeStandardUpdaterController(true);
    answerTo(R"({"do":"updates","available":"2.0","seconds":2})");
    controller->checkForUpdates();
    dispatch.advance(seconds(2));
    answerTo(R"({"do":"updates","available":"","allowed":true})");
    controller->checkForUpdates();
    dispatch.advance(seconds(2));
    EXPECT_EQ(answerTo(R"({"do":"update-checks"})"),
              R"({"ok":true,"do":"update-checks","checks":[{"offered":"2.0"},{}]})");
    answerTo(R"({"do":"fail-scripts","error-information":"no"})");
    EXPECT_EQ(system.appleScript.initWithSource("beep")->executeAndReturnError(), "no");
    EXPECT_EQ(answerTo(R"({"do":"scripts"})"),
              R"({"ok":true,"do":"scripts","executed":["beep"],"asking":false})");
}

TEST_F(SteeringTest, standsInForThePersonAtTheDesktop) {
    EXPECT_EQ(answerTo(R"({"do":"pasteboard"})"), R"({"ok":true,"do":"pasteboard"})");
    system.pasteboard.setString("100.64.0.1");
    EXPECT_EQ(answerTo(R"({"do":"pasteboard"})"),
              R"({"ok":true,"do":"pasteboard","text":"100.64.0.1"})");
    answerTo(R"({"do":"refuse-urls","beginning":"x-apple"})");
    EXPECT_FALSE(system.workspace.open(*Url::parse("x-apple.systempreferences:a")));
    EXPECT_TRUE(system.workspace.open(*Url::parse("https://login.example")));
    EXPECT_EQ(answerTo(R"({"do":"opened"})"),
              R"({"ok":true,"do":"opened","urls":["https://login.example"],"tried-urls":)"
              R"(["x-apple.systempreferences:a","https://login.example"],)"
              R"("folders":[],"applications":[]})");
    std::vector<std::optional<std::string>> urls;
    answerTo(R"({"do":"open-url","url":"quoxelin://login?token=a"})");
    system.appleEventManager.setEventHandler("GURL", "GURL",
                                             [&](const auto& url) { urls.push_back(url); });
    answerTo(R"({"do":"open-url"})");
    EXPECT_EQ(urls,
              (std::vector<std::optional<std::string>>{"quoxelin://login?token=a", std::nullopt}));
}

TEST_F(SteeringTest, choosesAFolderInTheOpenPanel) {
    std::optional<std::filesystem::path> chosen;
    system.openPanel.begin({}, [&](const auto& choice) { chosen = choice; });
    EXPECT_EQ(answerTo(R"({"do":"choose-folder","path":"/tmp"})"),
              R"({"ok":true,"do":"choose-folder"})");
    dispatch.runUntilIdle();
    EXPECT_EQ(chosen, "/tmp");
}

TEST_F(SteeringTest, waitsUntilACountIsReached) {
    EXPECT_EQ(answersTo(R"({"do":"wait","urls":2,"id":1})"), Lines());
    dispatch.advance(seconds(3));
    system.workspace.open(*Url::parse("https://a.example"));
    dispatch.advance(seconds(3));
    EXPECT_EQ(answers, Lines());
    system.workspace.open(*Url::parse("https://b.example"));
    system.workspace.open(*Url::parse("https://c.example"));
    dispatch.advance(seconds(1));
    EXPECT_EQ(answers, Lines{R"({"ok":true,"do":"wait","id":1})"});
}

TEST_F(SteeringTest, waitsUntilAllConditionsHoldAtOnce) {
    answersTo(R"({"do":"wait","helper":1,"open-panels":0})");
    system.openPanel.begin({}, [](const auto&) {});
    static_cast<void>(
        system.serviceManagement.daemonRegistration(simulatedHelperPlistName).registerService());
    dispatch.advance(seconds(1));
    EXPECT_EQ(answers, Lines());
    system.openPanel.cancel();
    dispatch.advance(seconds(0.02));
    EXPECT_EQ(answers, Lines{R"({"ok":true,"do":"wait"})"});
}

TEST_F(SteeringTest, answersAtOnceWhereNothingIsLeftToWaitFor) {
    EXPECT_EQ(answerTo(R"({"do":"wait","vpn-status":-1})"), R"({"ok":true,"do":"wait"})");
}

TEST_F(SteeringTest, losesItsPatience) {
    answersTo(R"({"do":"wait","notifications":1,"seconds":0.5})");
    dispatch.advance(seconds(0.49));
    EXPECT_EQ(answers, Lines());
    dispatch.advance(seconds(0.01));
    EXPECT_EQ(answers, Lines{R"({"ok":false,"do":"wait","error":)"
                             R"("waited in vain for \"notifications\""})"});
}

TEST_F(SteeringTest, forgetsItsWaitsWhenItEnds) {
    Lines late;
    auto shortLived = std::make_unique<Steering>(
        dispatch, [&](const std::string& line) { late.push_back(line); });
    shortLived->addState("never", [] { return 0; });
    shortLived->take(R"({"do":"wait","never":1,"seconds":1})");
    shortLived.reset();
    dispatch.advance(seconds(2));
    EXPECT_EQ(late, Lines());
}

} // namespace quoxelin::testing
