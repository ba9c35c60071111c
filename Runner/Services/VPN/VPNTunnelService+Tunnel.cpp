// Starting the tunnel and following it.
#include "Runner/Services/VPN/VPNTunnelService.h"

#include "Runner/Shared/AppLogger.h"

#include <fmt/format.h>

namespace quoxelin {

namespace {

VPNConnectionStatus connectionStatusOf(int rawStatus) {
    if (rawStatus < static_cast<int>(NEVPNStatus::invalid) ||
        rawStatus > static_cast<int>(NEVPNStatus::disconnecting))
        return VPNConnectionStatus::unknown;
    switch (static_cast<NEVPNStatus>(rawStatus)) {
    case NEVPNStatus::invalid:
    case NEVPNStatus::disconnected:
        return VPNConnectionStatus::disconnected;
    case NEVPNStatus::connecting:
    case NEVPNStatus::reasserting:
        return VPNConnectionStatus::connecting;
    case NEVPNStatus::connected:
        return VPNConnectionStatus::connected;
    case NEVPNStatus::disconnecting:
        return VPNConnectionStatus::disconnecting;
    }
    return VPNConnectionStatus::unknown;
}

} // namespace

std::optional<int> VPNTunnelService::heldStatus() const {
    return manager ? manager->status() : std::nullopt;
}

void VPNTunnelService::startVPNTunnel() {
    const auto rawStatus = heldStatus();
    if (!rawStatus) {
        log("Error: VPN manager is nil");
        connectionStatus = VPNConnectionStatus::error;
        return;
    }
    if (*rawStatus == static_cast<int>(NEVPNStatus::connected) ||
        *rawStatus == static_cast<int>(NEVPNStatus::connecting)) {
        log(fmt::format("Already connected or connecting (status: {}), skipping start",
                        *rawStatus));
        pendingStartAfterApproval = false;
        updateStatus();
        return;
    }
    log(fmt::format("Starting VPN tunnel (current status: {})", *rawStatus));
    connectionStatus = VPNConnectionStatus::connecting;
    const auto started = manager->startVPNTunnel();
    if (!started) {
        reportStartFailure(started.error());
        return;
    }
    pendingStartAfterApproval = false;
    log("Tunnel start initiated successfully");
}

void VPNTunnelService::reportStartFailure(const Error& error) {
    const bool isOfVPN = error.domain == NEVPNErrorDomain;
    if (isOfVPN && error.code == static_cast<int>(NEVPNError::configurationInvalid))
        log("Configuration is invalid");
    else if (isOfVPN && error.code == static_cast<int>(NEVPNError::configurationDisabled))
        log("Configuration is disabled");
    else
        log(fmt::format("Error starting VPN tunnel: {} (code: {}, domain: {})",
                        error.localizedDescription, error.code, error.domain));
    connectionStatus = VPNConnectionStatus::error;
}

void VPNTunnelService::updateStatus() {
    const auto rawStatus = heldStatus();
    if (!rawStatus) {
        log("updateStatus: manager or connection is nil");
        return;
    }
    log(fmt::format("raw status: {}", *rawStatus));
    connectionStatus = connectionStatusOf(*rawStatus);
    log(fmt::format("Status changed: NEVPNStatus(rawValue: {})", *rawStatus));
}

// Notifications from the platform

void VPNTunnelService::startMonitoring() {
    auto& center = dependencies.notificationCenter;
    statusObserver = center.addObserver(NEVPNStatusDidChange,
                                        [this](const Notification&) { vpnStatusDidChange(); });
    configurationObserver = center.addObserver(
        NEVPNConfigurationChange, [this](const Notification&) { vpnConfigurationDidChange(); });
    adoptExistingManager(mainThread.weakly([this] { updateStatus(); }));
}

void VPNTunnelService::vpnStatusDidChange() {
    log("Status notification received");
    const auto before = connectionStatus.get();
    updateStatus();
    if (before != VPNConnectionStatus::disconnected &&
        connectionStatus.get() == VPNConnectionStatus::disconnected)
        logDisconnectError();
}

void VPNTunnelService::logDisconnectError() {
    manager->fetchLastDisconnectError(mainThread.completion(
        [this](const std::optional<Error>& error) {
            if (error)
                log(fmt::format("Tunnel ended: {} (code: {}, domain: {})",
                                error->localizedDescription, error->code, error->domain));
        },
        [] {}));
}

void VPNTunnelService::vpnConfigurationDidChange() {
    log("Configuration changed; reloading manager");
    loadManager(false, mainThread.weakly([this] {
        updateStatus();
        if (pendingStartAfterApproval)
            startVPNTunnel();
    }));
}

} // namespace quoxelin
