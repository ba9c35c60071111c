#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/LibNM.h"
#include "Platform/Linux/Services/NetworkManagerProfiles.h"

namespace quoxelin {

namespace {

NEVPNStatus statusOf(NMActiveConnection* active) {
    switch (nm_active_connection_get_state(active)) {
    case NM_ACTIVE_CONNECTION_STATE_UNKNOWN:
    case NM_ACTIVE_CONNECTION_STATE_ACTIVATING:
        return NEVPNStatus::connecting;
    case NM_ACTIVE_CONNECTION_STATE_ACTIVATED:
        return NEVPNStatus::connected;
    case NM_ACTIVE_CONNECTION_STATE_DEACTIVATING:
        return NEVPNStatus::disconnecting;
    case NM_ACTIVE_CONNECTION_STATE_DEACTIVATED:
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

template <typename Function>
void forEachTunnel(NMClient* client, const Function& function) {
    if (client == nullptr)
        return;
    forEach<NMActiveConnection>(nm_client_get_active_connections(client), [&](auto* active) {
        const char* uuid = nm_active_connection_get_uuid(active);
        if (uuid != nullptr && nm_active_connection_get_vpn(active))
            function(std::string(uuid), active);
    });
}

} // namespace

NEVPNStatus NetworkManagerProfiles::tunnelStatus(const std::string& uuid) const {
    auto status = NEVPNStatus::disconnected;
    forEachTunnel(networkManager.running(), [&](const std::string& one, auto* active) {
        if (one == uuid && weight(statusOf(active)) > weight(status))
            status = statusOf(active);
    });
    const auto start = starts.find(uuid);
    if (start == starts.end() || weight(status) > weight(NEVPNStatus::connecting))
        return status;
    return start->second.stopIsWanted ? NEVPNStatus::disconnecting : NEVPNStatus::connecting;
}

int NetworkManagerProfiles::status(const std::string& uuid) const {
    const bool isGone =
        unsaved.contains(uuid) || (networkManager.running() != nullptr && find(uuid) == nullptr);
    return static_cast<int>(isGone ? NEVPNStatus::invalid : tunnelStatus(uuid));
}

Result<void, Error> NetworkManagerProfiles::start(const std::string& uuid) {
    if (unsaved.contains(uuid))
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN configuration is not saved"));
    auto* client = networkManager.running();
    if (client == nullptr)
        return tl::unexpected(notRunning(NEVPNError::connectionFailed));
    auto* connection = find(uuid);
    if (connection == nullptr)
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN connection no longer exists"));
    if (!configurationOf(NM_CONNECTION(connection)).isEnabled)
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
    nm_client_activate_connection_async(
        client, NM_CONNECTION(connection), nullptr, nullptr, nullptr, answered,
        passing([weak = weak_from_this(), uuid, number](GObject* source, GAsyncResult* result) {
            GFailure failure;
            const GPtr<NMActiveConnection> active(
                nm_client_activate_connection_finish(NM_CLIENT(source), result, failure.out()));
            const auto self = weak.lock();
            if (!self)
                return;
            if (!active)
                self->failures[uuid] = failure.text();
            self->startAnswered(uuid, number, active.get());
        }));
    networkManager.tunnelsChanged();
    return {};
}

/// `active` is null if nothing was started. NetworkManager's list may not contain it yet.
void NetworkManagerProfiles::startAnswered(const std::string& uuid, unsigned number,
                                           NMActiveConnection* active) {
    const auto found = starts.find(uuid);
    if (found == starts.end() || found->second.number != number)
        return;
    auto* client = networkManager.running();
    if (found->second.stopIsWanted && active != nullptr && client != nullptr)
        // The status is disconnecting until NetworkManager has answered.
        deactivate(client, active, [this, uuid, number] { endStart(uuid, number); });
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
    auto* client = networkManager.running();
    forEachTunnel(client, [&](const std::string& one, auto* active) {
        if (one == uuid)
            deactivate(client, active, [] {});
    });
    // The application may be about to exit.
    networkManager.flush();
    networkManager.tunnelsChanged();
}

/// `done` is called when NetworkManager has answered.
void NetworkManagerProfiles::deactivate(NMClient* client, NMActiveConnection* active,
                                        std::function<void()> done) {
    nm_client_deactivate_connection_async(
        client, active, nullptr, answered,
        passing([weak = weak_from_this(), done = std::move(done)](GObject* source,
                                                                  GAsyncResult* result) {
            nm_client_deactivate_connection_finish(NM_CLIENT(source), result, nullptr);
            if (const auto self = weak.lock())
                done();
        }));
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
    forEachTunnel(networkManager.running(), [&](const std::string& uuid, auto*) {
        const auto status = tunnelStatus(uuid);
        if (status != NEVPNStatus::disconnected)
            found[uuid] = status;
    });
    return found;
}

/// NetworkManager keeps a tunnel while the network changes, but none over its own end.
void NetworkManagerProfiles::startAgain() {
    for (const auto& uuid : std::set<std::string>(wanted)) {
        if (find(uuid) != nullptr)
            static_cast<void>(start(uuid));
    }
}

// Changes

void NetworkManagerProfiles::changed(const NetworkManagerClient::Changes& changes) {
    for (const auto& [uuid, reason] : changes.reasons)
        failures[uuid] = "NetworkManager's reason: " + reason;
    if (changes.presence && networkManager.running() != nullptr)
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
