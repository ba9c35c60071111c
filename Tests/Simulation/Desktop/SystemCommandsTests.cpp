#include "Tests/Simulation/Desktop/SteeredSystem.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SystemCommands : public ::testing::Test, protected SteeredSystem {
  protected:
    std::string answerTo(std::string_view line) {
        answers.clear();
        steering.take(line);
        return answers.size() == 1 ? answers[0] : std::to_string(answers.size()) + " answers";
    }
};

TEST_F(SystemCommands, doesNothingUnlessTheWholeCommandIsValid) {
    answerTo(R"({"do":"extension","version":"9","result":"one"})");
    EXPECT_EQ(system.systemExtensions.bundledVersion, "1.0");
}

TEST_F(SystemCommands, steersTheExtension) {
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

TEST_F(SystemCommands, steersTheVpn) {
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

TEST_F(SystemCommands, steersTheHelper) {
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

TEST_F(SystemCommands, steersTheRegistrations) {
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

TEST_F(SystemCommands, reportsTheNotifications) {
    answerTo(R"({"do":"answer-notifications","granted":true})");
    system.userNotificationCenter.add({"id", "Title", "Body \"quoted\"", false});
    EXPECT_EQ(answerTo(R"({"do":"notifications"})"),
              R"({"ok":true,"do":"notifications","added":1,"delivered":[{"identifier":"id",)"
              R"("title":"Title","body":"Body \"quoted\""}]})");
}

TEST_F(SystemCommands, steersUpdatesAndScripts) {
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

TEST_F(SystemCommands, simulatesTheUserAtTheDesktop) {
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
}

TEST_F(SystemCommands, choosesAFolderInTheOpenPanel) {
    std::optional<std::filesystem::path> chosen;
    system.openPanel.begin({}, [&](const auto& choice) { chosen = choice; });
    EXPECT_EQ(answerTo(R"({"do":"choose-folder","path":"/tmp"})"),
              R"({"ok":true,"do":"choose-folder"})");
    dispatch.runUntilIdle();
    EXPECT_EQ(chosen, "/tmp");
}

TEST_F(SystemCommands, refusesWhatTheSystemCannotDo) {
    for (const auto* const line :
         {R"({"do":"helper","state":"gone"})", R"({"do":"helper-output","argument":"up"})",
          R"({"do":"end-activations"})", R"({"do":"approve-service","service":"printer"})",
          R"({"do":"drop-vpn"})", R"({"do":"remove-vpn-configuration","place":4})",
          R"({"do":"click-status-item"})", R"({"do":"cancel-open-panel"})"})
        EXPECT_EQ(answerTo(line).rfind("{\"ok\":false", 0), 0u) << line;
}

TEST_F(SystemCommands, reportWhatCanBeWaitedFor) {
    steering.take(R"({"do":"wait","urls":1,"helper":1,"vpn-status":-1,"open-panels":0})");
    system.workspace.open(*Url::parse("https://a.example"));
    steering.look();
    EXPECT_TRUE(answers.empty());
    system.serviceManagement.daemonRegistration(simulatedHelperPlistName)
        .setStatus(SMAppServiceStatus::enabled);
    steering.look();
    EXPECT_EQ(answers, std::vector<std::string>{R"({"ok":true,"do":"wait"})"});
}

} // namespace quoxelin::testing
