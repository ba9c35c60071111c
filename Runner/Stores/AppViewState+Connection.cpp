#include "Runner/Stores/AppViewState.h"

#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Services/VPN/VPNTunnelService.h"

#include <fmt/format.h>

namespace quoxelin {

void AppViewState::connect() {
    if (mainThread.takesOver([this] { connect(); }))
        return;
    if (isRemoved)
        return;
    log("connect");
    cancelVPNRetry();
    vpnRetryCount = 0;
    setDaemonWantRunning(true);
    if (!dependencies.systemExtension.isApproved.get()) {
        log("System Extension not approved, skipping VPN tunnel start");
        return;
    }
    wantsTunnel = true;
    saveConfigurationAndStartVPN();
}

void AppViewState::disconnect() {
    if (mainThread.takesOver([this] { disconnect(); }))
        return;
    log("disconnect");
    cancelVPNRetry();
    wantsTunnel = false;
    setDaemonWantRunning(false);
    dependencies.tunnel.stop();
}

void AppViewState::setDaemonWantRunning(bool wantRunning) {
    dependencies.localAPI.setWantRunning(
        wantRunning,
        mainThread.callback([this, wantRunning](const Result<void, LocalAPIError>& answer) {
            if (answer)
                log(fmt::format("daemon WantRunning={}", wantRunning));
            else
                log(fmt::format("failed to set WantRunning={}: {}", wantRunning,
                                answer.error().debugDescription()));
        }));
}

void AppViewState::saveConfigurationAndStartVPN() {
    dependencies.tunnel.ensureConfigurationSaved(mainThread.weakly([this] {
        if (wantsTunnel)
            startVPNWithRetry();
    }));
}

void AppViewState::startVPNWithRetry() {
    dependencies.tunnel.start();
    scheduleVPNRetryIfNeeded();
}

void AppViewState::scheduleVPNRetryIfNeeded() {
    cancelVPNRetry();
    vpnConnectRetryWork = mainThread.asyncAfter(seconds(2.0), [this] { retryVPNIfNeeded(); });
}

void AppViewState::retryVPNIfNeeded() {
    switch (vpn->status) {
    case VPNConnectionStatus::connected:
    case VPNConnectionStatus::connecting:
        return;
    case VPNConnectionStatus::disconnected:
    case VPNConnectionStatus::disconnecting:
    case VPNConnectionStatus::error:
    case VPNConnectionStatus::unknown:
        break;
    }
    if (vpnRetryCount > 2) {
        log("VPN connection failed after 3 retries");
        return;
    }
    ++vpnRetryCount;
    log(fmt::format("VPN connection retry {}/3", vpnRetryCount));
    saveConfigurationAndStartVPN();
}

void AppViewState::cancelVPNRetry() {
    if (vpnConnectRetryWork)
        vpnConnectRetryWork->cancel();
    vpnConnectRetryWork.reset();
}

} // namespace quoxelin
