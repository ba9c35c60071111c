#include "Tests/Support/PanelScene.h"

namespace quoxelin::testing {

PanelScene::PanelScene()
    : updaterController(system.updates.makeStandardUpdaterController(true)),
      updaterVM(std::make_shared<UpdaterViewModel>(updaterController->updater())),
      content(std::make_shared<QuoxelinMenuBarContent>(
          QuoxelinMenuBarContent::Dependencies{
              dispatch, logger, localAPI, system.workspace, system.pasteboard, system.openPanel,
              system.mainBundle, system.processInfo, system.userNotificationCenter,
              system.application, directory.path() / "client.log"},
          appState, updaterVM, systemExtension)) {
    dispatch.runUntilIdle();
    system.systemLog.clear();
}

void PanelScene::logIn() {
    LoginViewState login;
    login.isLoggedIn = true;
    login.userName = "Haru Tanaka";
    login.email = "haru@example.com";
    login.hostName = "harus-laptop";
    login.nodeID = 4;
    login.quoxelinIPs = "100.64.0.4,fd7a::4";
    appState->login = login;
    appState->vpn = VpnViewState{VPNConnectionStatus::connected};
    appState->profiles = {
        {"work", "haru@example.com", 4, "haru@example.com", true},
        {"home", "tanaka.haru@example.org", 9, "tanaka.haru@example.org", false},
    };
    appState->currentProfileId = "work";
    systemExtension->isApproved = true;
}

void PanelScene::edit(const std::function<void(LoginViewState&)>& change) {
    LoginViewState login = appState->login;
    change(login);
    appState->login = login;
}

} // namespace quoxelin::testing
