#include "Runner/Stores/AppViewState.h"

#include "Base/AsciiCase.h"
#include "Base/Immortal.h"
#include "Base/Trim.h"
#include "Platform/Platform.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Views/NotificationHelper.h"

#include <algorithm>
#include <fmt/format.h>
#include <string_view>
#include <utility>

namespace quoxelin {

namespace {

std::string_view caseName(HashiBusState state) {
    switch (state) {
    case HashiBusState::noState:
        return "noState";
    case HashiBusState::needsLogin:
        return "needsLogin";
    case HashiBusState::stopped:
        return "stopped";
    case HashiBusState::starting:
        return "starting";
    case HashiBusState::running:
        return "running";
    }
    return {};
}

std::string joined(const std::vector<std::string>& addresses) {
    return fmt::format("{}", fmt::join(addresses, ","));
}

std::optional<std::string> jailedReason(bool jailed, const std::optional<std::string>& reason) {
    if (!jailed)
        return std::nullopt;
    const auto trimmed = trimmingWhitespacesAndNewlines(reason ? *reason : std::string_view());
    return std::string(trimmed.empty() ? "device posture non-compliant" : trimmed);
}

void fillFromNetMap(LoginViewState& s, const NetworkMap& netMap, const Node& node) {
    s.isLoggedIn = true;
    s.nodeID = node.id;
    s.hostName = node.name.value_or("");
    if (node.addresses)
        s.quoxelinIPs = joined(*node.addresses);
    if (!netMap.userProfiles)
        return;
    const auto profile = netMap.userProfiles->find(std::to_string(node.userID));
    if (!profile)
        return;
    if (profile->loginName)
        s.email = *profile->loginName;
    s.userName = profile->displayName.value_or(s.email);
}

void fillFromBackendState(LoginViewState& s, const DaemonStatus& status) {
    if (!status.backendState)
        return;
    const auto isState = [&](std::string_view name) {
        return equalIgnoringAsciiCase(*status.backendState, name);
    };
    if (isState("running") || isState("starting") || isState("stopped")) {
        s.isLoggedIn = true;
    } else if (isState("needslogin")) {
        s.isLoggedIn = false;
        s.interactiveLoginUrl = status.interactiveLoginUrl.value_or("");
    }
}

} // namespace

std::shared_ptr<AppViewState> AppViewState::make(const Dependencies& dependencies,
                                                 std::shared_ptr<HashiBusClient> hashiBus) {
    std::shared_ptr<AppViewState> store(new AppViewState(dependencies, std::move(hashiBus)));
    store->hashiBus->delegate = store;
    store->followTunnel();
    return store;
}

std::shared_ptr<AppViewState> AppViewState::shared() {
    static const auto& instance = immortal([&platform = Platform::current()] {
        return make(
            {
                .dispatch = platform.dispatch,
                .logger = AppLogger::shared(),
                .localAPI = LocalAPIClient::shared(),
                .tunnel = VPNTunnelService::shared(),
                .systemExtension = *SystemExtensionService::shared(),
                .notificationCenter = platform.userNotificationCenter,
                .workspace = platform.workspace,
                .appleScript = platform.appleScript,
                .serviceManagement = platform.serviceManagement,
                .userDefaults = platform.userDefaults,
                .fileManager = platform.fileManager,
                .application = platform.application,
            },
            std::make_shared<HashiBusClient>(
                HashiBusClient::Dependencies{
                    .dispatch = platform.dispatch,
                    .connector = platform.connector,
                    .logger = AppLogger::shared(),
                },
                platform.daemonSocketPath));
    });
    return instance;
}

AppViewState::AppViewState(const Dependencies& dependencies,
                           std::shared_ptr<HashiBusClient> hashiBus)
    : dependencies(dependencies), hashiBus(std::move(hashiBus)) {}

void AppViewState::log(const std::string& message) {
    dependencies.logger.log("State", message);
}

void AppViewState::followTunnel() {
    const auto mirror =
        mainThread.callback([this](VPNConnectionStatus status) { vpn = VpnViewState{status}; });
    cancellables.push_back(dependencies.tunnel.connectionStatus.subscribe(mirror));
}

void AppViewState::start() {
    if (mainThread.takesOver([this] { start(); }))
        return;
    log("start() called");
    hashiBus->start();
}

void AppViewState::hashiBusDidReceiveNotify(const HashiBusNotify& notify) {
    mainThread.async([this, notify] { updateState(notify); });
}

void AppViewState::updateState(const HashiBusNotify& notify) {
    if (isRemoved)
        return;
    auto s = login.get();
    if (notify.state)
        followBackendState(*notify.state, s);
    if (!isLoggingOut && notify.netMap && notify.netMap->selfNode && notify.netMap->selfNode->node)
        fillFromNetMap(s, *notify.netMap, *notify.netMap->selfNode->node);
    if (notify.interactiveLoginUrl && !notify.interactiveLoginUrl->empty())
        s.interactiveLoginUrl = *notify.interactiveLoginUrl;
    else if (s.isLoggedIn)
        s.interactiveLoginUrl.clear();
    if (!isLoggingOut && notify.jailed)
        s.jailedReason = jailedReason(*notify.jailed, notify.jailReason);

    const auto wasLoggedIn = login->isLoggedIn;
    if (s == login.get())
        return;
    publishAndFollowUp(s);
    if (s.isLoggedIn && !wasLoggedIn)
        connect();
}

void AppViewState::followBackendState(HashiBusState state, LoginViewState& s) {
    log(fmt::format("Received HashiBus state: {}", caseName(state)));
    currentBackendState = state;
    if (state == HashiBusState::needsLogin) {
        s.isLoggedIn = false;
        isLoggingOut = false;
    }
    if (state == HashiBusState::noState || state == HashiBusState::needsLogin)
        s.jailedReason.reset();
}

void AppViewState::applyStatus(const DaemonStatus& status) {
    auto s = login.get();
    fillFromBackendState(s, status);
    if (status.selfNode) {
        s.nodeID = status.selfNode->id;
        s.hostName = status.selfNode->hostName.value_or("");
        if (status.selfNode->addresses && !status.selfNode->addresses->empty())
            s.quoxelinIPs = joined(*status.selfNode->addresses);
    }
    if (status.email && !status.email->empty())
        s.email = *status.email;
    if (status.userName && !status.userName->empty())
        s.userName = *status.userName;
    if (status.jailed)
        s.jailedReason = jailedReason(*status.jailed, status.jailReason);

    if (s != login.get())
        publishAndFollowUp(s);
}

void AppViewState::publishAndFollowUp(const LoginViewState& next) {
    const auto old = login.get();
    login = next;
    refreshProfiles();
    notifyJailTransition(old, next);
}

void AppViewState::publishLoginIfChanged(const LoginViewState& next) {
    if (next != login.get())
        login = next;
}

void AppViewState::notifyJailTransition(const LoginViewState& old, const LoginViewState& now) {
    if (!now.jailedReason || old.jailedReason)
        return;
    log("node jailed: " + *now.jailedReason);
    NotificationHelper::show(dependencies.notificationCenter, "Quoxelin",
                             "デバイスポリシーを満たしていないため、通信がブロックされています");
}

void AppViewState::refreshProfiles() {
    if (mainThread.takesOver([this] { refreshProfiles(); }))
        return;
    log("refreshProfiles called");
    dependencies.localAPI.getProfiles(
        mainThread.callback([this](const Result<ProfilesResponse, LocalAPIError>& answer) {
            if (answer)
                applyProfiles(*answer);
            else
                log("Failed to get profiles: " + answer.error().errorDescription());
        }));
}

void AppViewState::applyProfiles(const ProfilesResponse& answer) {
    log(fmt::format("Got {} profiles", answer.profiles.size()));
    profiles = answer.profiles;
    currentProfileId = answer.currentProfileId;
    const auto current = std::find_if(answer.profiles.begin(), answer.profiles.end(),
                                      [](const auto& profile) { return profile.isCurrent; });
    if (current == answer.profiles.end() || !current->userEmail || current->userEmail->empty())
        return;
    auto next = login.get();
    next.email = *current->userEmail;
    publishLoginIfChanged(next);
    next = login.get();
    if (next.userName.empty())
        next.userName = *current->userEmail;
    publishLoginIfChanged(next);
}

} // namespace quoxelin
