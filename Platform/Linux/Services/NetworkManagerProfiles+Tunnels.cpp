#include "Platform/Linux/Services/NetworkManagerProfiles.h"

namespace quoxelin {

namespace {

NEVPNStatus statusOf(const NetworkManagerClient::Tunnel& tunnel) {
    using State = NetworkManagerClient::Tunnel::State;
    switch (tunnel.state) {
    case State::unknown:
    case State::activating:
        return NEVPNStatus::connecting;
    case State::activated:
        return NEVPNStatus::connected;
    case State::deactivating:
        return NEVPNStatus::disconnecting;
    case State::deactivated:
        break;
    }
    return NEVPNStatus::disconnected;
}

/// If one tunnel goes down while another comes up, the second one determines the status.
int weight(NEVPNStatus status) {
    switch (status) {
    case NEVPNStatus::connected:
        return 3;
    case NEVPNStatus::connecting:
    case NEVPNStatus::reasserting:
        return 2;
    case NEVPNStatus::disconnecting:
        return 1;
    case NEVPNStatus::invalid:
    case NEVPNStatus::disconnected:
        break;
    }
    return 0;
}

} // namespace

NEVPNStatus NetworkManagerProfiles::tunnelStatus(const std::string& uuid) const {
    auto status = NEVPNStatus::disconnected;
    for (const auto& tunnel : networkManager.tunnels())
        if (tunnel.uuid == uuid && weight(statusOf(tunnel)) > weight(status))
            status = statusOf(tunnel);
    const auto start = starts.find(uuid);
    if (start == starts.end() || weight(status) > weight(NEVPNStatus::connecting))
        return status;
    return start->second.stopIsWanted ? NEVPNStatus::disconnecting : NEVPNStatus::connecting;
}

int NetworkManagerProfiles::status(const std::string& uuid) const {
    const bool isGone = unsaved.contains(uuid) ||
                        (networkManager.isRunning() && networkManager.find(uuid) == nullptr);
    return static_cast<int>(isGone ? NEVPNStatus::invalid : tunnelStatus(uuid));
}

Result<void, Error> NetworkManagerProfiles::start(const std::string& uuid) {
    if (unsaved.contains(uuid))
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN configuration is not saved"));
    if (!networkManager.isRunning())
        return tl::unexpected(notRunning(NEVPNError::connectionFailed));
    const auto* profile = networkManager.find(uuid);
    if (profile == nullptr)
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN connection no longer exists"));
    if (!profile->configuration().isEnabled)
        return tl::unexpected(
            vpnError(NEVPNError::configurationDisabled, "The VPN connection is disabled"));
    const auto status = tunnelStatus(uuid);
    if (status == NEVPNStatus::connecting || status == NEVPNStatus::connected)
        return {};
    const unsigned number = ++startCount;
    starts[uuid] = {number, false};
    wanted.insert(uuid);
    stopped.erase(uuid);
    failures.erase(uuid);
    networkManager.activate(
        uuid, [weak = weak_from_this(), uuid, number](const Result<std::string, BusError>& path) {
            const auto self = weak.lock();
            if (!self)
                return;
            if (!path)
                self->failures[uuid] = path.error().text;
            self->startAnswered(uuid, number, path ? std::optional(*path) : std::nullopt);
        });
    networkManager.tunnelsChanged();
    return {};
}

/// The path is that of the tunnel, if one was started.
void NetworkManagerProfiles::startAnswered(const std::string& uuid, unsigned number,
                                           const std::optional<std::string>& path) {
    const auto found = starts.find(uuid);
    if (found == starts.end() || found->second.number != number)
        return;
    if (found->second.stopIsWanted && path && networkManager.isRunning())
        // The status is disconnecting until NetworkManager has answered.
        networkManager.deactivate(*path, [weak = weak_from_this(), uuid, number](const auto&) {
            if (const auto self = weak.lock())
                self->endStart(uuid, number);
        });
    else
        endStart(uuid, number);
}

void NetworkManagerProfiles::endStart(const std::string& uuid, unsigned number) {
    const auto found = starts.find(uuid);
    if (found != starts.end() && found->second.number == number)
        starts.erase(found);
    networkManager.tunnelsChanged();
}

void NetworkManagerProfiles::stop(const std::string& uuid) {
    wanted.erase(uuid);
    failures.erase(uuid);
    stopped.insert(uuid);
    const auto found = starts.find(uuid);
    if (found != starts.end())
        found->second.stopIsWanted = true;
    for (const auto& tunnel : networkManager.tunnels())
        if (tunnel.uuid == uuid)
            networkManager.deactivate(tunnel.path, [](const auto&) {});
    networkManager.tunnelsChanged();
}

std::optional<Error> NetworkManagerProfiles::lastFailure(const std::string& uuid) const {
    const auto found = failures.find(uuid);
    if (found == failures.end())
        return std::nullopt;
    return vpnError(NEVPNError::connectionFailed, found->second);
}

std::vector<EndingTunnel> NetworkManagerProfiles::stoppedTunnels() const {
    std::vector<EndingTunnel> found;
    for (const auto& uuid : stopped)
        found.push_back({.uuid = uuid, .mayStillStart = starts.contains(uuid)});
    return found;
}

std::map<std::string, NEVPNStatus> NetworkManagerProfiles::tunnels() const {
    std::map<std::string, NEVPNStatus> found;
    for (const auto& [uuid, start] : starts)
        found[uuid] = tunnelStatus(uuid);
    for (const auto& tunnel : networkManager.tunnels()) {
        const auto status = tunnelStatus(tunnel.uuid);
        if (status != NEVPNStatus::disconnected)
            found[tunnel.uuid] = status;
    }
    return found;
}

/// NetworkManager keeps a tunnel while the network changes, but none over its own end.
void NetworkManagerProfiles::startAgain() {
    for (const auto& uuid : std::set<std::string>(wanted)) {
        if (networkManager.find(uuid) != nullptr)
            static_cast<void>(start(uuid));
    }
}

// Changes

void NetworkManagerProfiles::changed(const NetworkManagerClient::Changes& changes) {
    for (const auto& [uuid, reason] : changes.reasons)
        failures[uuid] = "NetworkManager's reason: " + reason;
    if (changes.presence && networkManager.isRunning())
        startAgain();
    if (changes.configurations)
        configurationChanged();
    if (!changes.tunnels)
        return;
    auto now = tunnels();
    if (now == told && !changes.presence)
        return;
    told = std::move(now);
    statusChanged();
}

} // namespace quoxelin
