#include "Tests/Support/PanelStates.h"

namespace quoxelin::testing {

namespace {

PanelState loggedOut(std::string name, std::function<void(PanelScene&)> arrange) {
    return {std::move(name), std::move(arrange)};
}

PanelState loggedIn(std::string name, std::function<void(PanelScene&)> arrange) {
    return {std::move(name), [arrange = std::move(arrange)](PanelScene& scene) {
                scene.logIn();
                arrange(scene);
            }};
}

PanelState edited(std::string name, void (*change)(LoginViewState&)) {
    return loggedIn(std::move(name), [change](PanelScene& scene) { scene.edit(change); });
}

PanelState status(std::string name, VPNConnectionStatus status) {
    return loggedIn(std::move(name),
                    [status](PanelScene& scene) { scene.appState->vpn = VpnViewState{status}; });
}

PanelState hovering(std::string name, Published<bool> QuoxelinMenuBarContent::*flag) {
    return loggedIn(std::move(name), [flag](PanelScene& scene) { (*scene.content).*flag = true; });
}

void needHelperApproval(PanelScene& scene) {
    scene.appState->helperNeedsApproval = true;
    scene.appState->helperRegistrationError =
        "Helper requires approval in System Settings → General → Login Items.";
}

void openMore(PanelScene& scene) {
    scene.content->isMorePopoverPresented = true;
}

std::vector<PanelState> helperStates() {
    return {
        loggedOut("helper-approval", needHelperApproval),
        loggedOut("helper-approval-without-text",
                  [](PanelScene& scene) { scene.appState->helperNeedsApproval = true; }),
        loggedOut("helper-unreachable",
                  [](PanelScene& scene) {
                      scene.appState->helperNeedsApproval = true;
                      scene.appState->helperRegistrationError =
                          "Failed to connect to background helper. Please restart the app or "
                          "check Login Items.";
                  }),
        loggedIn("helper-approval-logged-in", needHelperApproval),
    };
}

std::vector<PanelState> loggedOutStates() {
    const auto withAccounts = [](PanelScene& scene) {
        scene.appState->profiles = {
            {"work", "haru@example.com", 4, "haru@example.com", false},
            {"home", "tanaka.haru@example.org", 9, "tanaka.haru@example.org", true},
        };
        scene.content->isSwitchAccountPopoverPresented = true;
    };
    return {
        loggedOut("logged-out", [](PanelScene&) {}),
        loggedOut("logged-out-hover-login",
                  [](PanelScene& scene) { scene.content->isHoveringLogin = true; }),
        loggedOut("logged-out-hover-switch-account",
                  [](PanelScene& scene) { scene.content->isHoveringSwitchAccount = true; }),
        loggedOut("switch-account", withAccounts),
        loggedOut("switch-account-without-accounts",
                  [](PanelScene& scene) { scene.content->isSwitchAccountPopoverPresented = true; }),
        loggedOut("switch-account-hover-profile",
                  [=](PanelScene& scene) {
                      withAccounts(scene);
                      scene.content->hoveringProfileId = "work";
                  }),
        loggedOut("switch-account-hover-add-account",
                  [=](PanelScene& scene) {
                      withAccounts(scene);
                      scene.content->isHoveringAddAccount = true;
                  }),
    };
}

std::vector<PanelState> connectionStates() {
    return {
        status("connected", VPNConnectionStatus::connected),
        status("disconnected", VPNConnectionStatus::disconnected),
        status("connecting", VPNConnectionStatus::connecting),
        status("disconnecting", VPNConnectionStatus::disconnecting),
        status("error", VPNConnectionStatus::error),
        status("unknown", VPNConnectionStatus::unknown),
        edited("jailed", [](auto& login) { login.jailedReason = "device posture non-compliant"; }),
        loggedIn("jailed-long-reason",
                 [](PanelScene& scene) {
                     scene.appState->vpn = VpnViewState{VPNConnectionStatus::disconnected};
                     scene.edit([](auto& login) {
                         login.jailedReason =
                             "ディスクの暗号化が無効です。管理者に連絡してください。"
                             "\nDisk encryption is off on this device.";
                     });
                 }),
        hovering("hover-connect", &QuoxelinMenuBarContent::isHoveringConnect),
        hovering("hover-dns", &QuoxelinMenuBarContent::isHoveringDNS),
        hovering("hover-ipv4", &QuoxelinMenuBarContent::isHoveringIPv4),
        hovering("hover-ipv6", &QuoxelinMenuBarContent::isHoveringIPv6),
        hovering("hover-check-for-updates", &QuoxelinMenuBarContent::isHoveringCheckUpdate),
        hovering("hover-more", &QuoxelinMenuBarContent::isHoveringMore),
        hovering("hover-quit", &QuoxelinMenuBarContent::isHoveringQuit),
        loggedIn("updates-disabled",
                 [](PanelScene& scene) {
                     scene.system.updates.setCanCheckForUpdates(false);
                     scene.dispatch.runUntilIdle();
                 }),
    };
}

std::vector<PanelState> systemExtensionStates() {
    const auto notApproved = [](std::string name, std::function<void(PanelScene&)> arrange) {
        return loggedIn(std::move(name), [arrange = std::move(arrange)](PanelScene& scene) {
            scene.systemExtension->isApproved = false;
            scene.appState->vpn = VpnViewState{VPNConnectionStatus::disconnected};
            arrange(scene);
        });
    };
    return {
        notApproved("extension-approval-required",
                    [](PanelScene& scene) { scene.systemExtension->needsUserApproval = true; }),
        notApproved("extension-approval-required-older-system",
                    [](PanelScene& scene) {
                        scene.systemExtension->needsUserApproval = true;
                        scene.system.processInfo.majorVersion = 14;
                    }),
        notApproved("extension-not-active", [](PanelScene&) {}),
        notApproved("extension-failed",
                    [](PanelScene& scene) {
                        scene.systemExtension->lastErrorDescription =
                            "The extension could not be verified.";
                    }),
    };
}

std::vector<PanelState> identityStates() {
    return {
        edited("without-email", [](auto& login) { login.email.clear(); }),
        edited("without-host-name", [](auto& login) { login.hostName.clear(); }),
        edited("ipv4-only", [](auto& login) { login.quoxelinIPs = "100.64.0.4"; }),
        edited("ipv6-only", [](auto& login) { login.quoxelinIPs = "fd7a::4"; }),
        loggedIn("nothing-known-yet",
                 [](PanelScene& scene) {
                     scene.edit([](auto& login) {
                         login = {};
                         login.isLoggedIn = true;
                     });
                     scene.appState->vpn = VpnViewState{VPNConnectionStatus::disconnected};
                 }),
        edited("long-names",
               [](auto& login) {
                   login.userName = "Maximiliana Wolfeschlegelsteinhausen-Bergerdorff";
                   login.email = "maximiliana.wolfeschlegelsteinhausen@department.example.com";
                   login.hostName = "build-machine-of-the-second-floor.engineering.example.com";
               }),
        loggedIn("markup-in-names",
                 [](PanelScene& scene) {
                     scene.edit([](auto& login) {
                         login.userName = "<b>Bold</b> & \"Sons\"";
                         login.hostName = "&amp;<img src=x>";
                     });
                     scene.appState->profiles = {
                         {"markup", "<h1>&Save</h1>", std::nullopt, std::nullopt, true}};
                     openMore(scene);
                 }),
    };
}

std::vector<PanelState> moreStates() {
    const auto more = [](std::string name, std::function<void(PanelScene&)> arrange) {
        return loggedIn(std::move(name), [arrange = std::move(arrange)](PanelScene& scene) {
            openMore(scene);
            arrange(scene);
        });
    };
    const auto hoveringInMore = [more](std::string name,
                                       Published<bool> QuoxelinMenuBarContent::*flag) {
        return more(std::move(name), [flag](PanelScene& scene) { (*scene.content).*flag = true; });
    };
    return {
        more("more", [](PanelScene&) {}),
        more("more-white-label",
             [](PanelScene& scene) {
                 scene.system.mainBundle.infoDictionary["QXConductorURL"] =
                     "https://conductor.example.net";
             }),
        more("more-japanese-profiles",
             [](PanelScene& scene) {
                 scene.appState->profiles = {
                     {"work", "株式会社クオクセリン", 4, "haru@example.com", true},
                     {"home", "田中 春（自宅）", 9, "haru@example.org", false},
                 };
             }),
        more("more-many-profiles",
             [](PanelScene& scene) {
                 std::vector<ProfileInfo> profiles;
                 for (int i = 1; i <= 12; ++i) {
                     const auto number = std::to_string(i);
                     profiles.push_back({"profile-" + number, "account" + number + "@example.com",
                                         i, std::nullopt, i == 5});
                 }
                 scene.appState->profiles = profiles;
             }),
        more("more-hover-profile",
             [](PanelScene& scene) { scene.content->hoveringProfileId = "home"; }),
        hoveringInMore("more-hover-logout", &QuoxelinMenuBarContent::isHoveringLogout),
        hoveringInMore("more-hover-about", &QuoxelinMenuBarContent::isHoveringAbout),
        hoveringInMore("more-hover-docs", &QuoxelinMenuBarContent::isHoveringDocs),
        hoveringInMore("more-hover-export-logs", &QuoxelinMenuBarContent::isHoveringExportLogs),
        hoveringInMore("more-hover-uninstall", &QuoxelinMenuBarContent::isHoveringUninstall),
        more("uninstall-confirmation",
             [](PanelScene& scene) { scene.content->showUninstallConfirm = true; }),
    };
}

std::vector<PanelState> allStates() {
    std::vector<PanelState> all;
    for (auto& group : {loggedOutStates(), helperStates(), connectionStates(),
                        systemExtensionStates(), identityStates(), moreStates()})
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

} // namespace

const std::vector<PanelState>& panelStates() {
    static const auto states = allStates();
    return states;
}

} // namespace quoxelin::testing
