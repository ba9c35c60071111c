#include "Platform/Linux/Services/NetworkManagerProfiles.h"

#include "Platform/Linux/Services/GLib.h"

namespace quoxelin {

namespace {

constexpr auto readWriteFailed = NEVPNError::configurationReadWriteFailed;

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

/// A connection that belongs to this user, so that saving it needs no administrator.
GPtr<NMConnection> makeConnection(const std::string& uuid) {
    GPtr<NMConnection> connection(nm_simple_connection_new());
    auto* general = nm_setting_connection_new();
    g_object_set(general, NM_SETTING_CONNECTION_UUID, uuid.c_str(), NM_SETTING_CONNECTION_TYPE,
                 NM_SETTING_VPN_SETTING_NAME, NM_SETTING_CONNECTION_AUTOCONNECT, FALSE, nullptr);
    nm_setting_connection_add_permission(NM_SETTING_CONNECTION(general), "user", g_get_user_name(),
                                         nullptr);
    nm_connection_add_setting(connection.get(), general);
    nm_connection_add_setting(connection.get(), nm_setting_vpn_new());
    return connection;
}

GVariant* settingsOf(NMConnection* connection) {
    return nm_connection_to_dbus(connection, NM_CONNECTION_SERIALIZE_ALL);
}

} // namespace

std::shared_ptr<NetworkManagerProfiles>
NetworkManagerProfiles::make(std::function<void()> statusChanged,
                             std::function<void()> configurationChanged) {
    return std::shared_ptr<NetworkManagerProfiles>(
        new NetworkManagerProfiles(std::move(statusChanged), std::move(configurationChanged)));
}

NetworkManagerProfiles::NetworkManagerProfiles(std::function<void()> statusChanged,
                                               std::function<void()> configurationChanged)
    : networkManager([this](const auto& changes) { changed(changes); }),
      statusChanged(std::move(statusChanged)),
      configurationChanged(std::move(configurationChanged)) {}

// Saved connections

Error NetworkManagerProfiles::notRunning(NEVPNError code) const {
    return vpnError(code, networkManager.problem());
}

void NetworkManagerProfiles::all(Completion<std::vector<std::string>, Error> completion) {
    networkManager.whenReady([self = shared_from_this(), completion = std::move(completion)] {
        auto* client = self->networkManager.running();
        if (client == nullptr) {
            completion(tl::unexpected(self->notRunning(readWriteFailed)));
            return;
        }
        std::vector<std::string> uuids;
        forEach<NMConnection>(nm_client_get_connections(client), [&](auto* connection) {
            const char* uuid = nm_connection_get_uuid(connection);
            if (uuid != nullptr && nm_connection_is_type(connection, NM_SETTING_VPN_SETTING_NAME))
                uuids.emplace_back(uuid);
        });
        completion(std::move(uuids));
    });
}

NMRemoteConnection* NetworkManagerProfiles::find(const std::string& uuid) const {
    auto* client = networkManager.running();
    return client == nullptr ? nullptr : nm_client_get_connection_by_uuid(client, uuid.c_str());
}

Result<NMRemoteConnection*, Error> NetworkManagerProfiles::saved(const std::string& uuid) const {
    if (networkManager.running() == nullptr)
        return tl::unexpected(notRunning(readWriteFailed));
    auto* connection = find(uuid);
    if (connection == nullptr)
        return tl::unexpected(
            vpnError(NEVPNError::configurationStale, "The VPN connection is no longer there"));
    return connection;
}

Result<VPNConfiguration, Error> NetworkManagerProfiles::read(const std::string& uuid) const {
    if (unsaved.contains(uuid))
        return {};
    return saved(uuid).map(
        [](auto* connection) { return configurationOf(NM_CONNECTION(connection)); });
}

std::string NetworkManagerProfiles::makeNew() {
    const GText uuid(nm_utils_uuid_generate());
    return unsaved.try_emplace(uuid.get()).first->first;
}

void NetworkManagerProfiles::save(const std::string& uuid, const VPNConfiguration& configuration,
                                  PreferencesCompletion completion) {
    const auto found = unsaved.find(uuid);
    if (found == unsaved.end()) {
        update(uuid, configuration, std::move(completion));
    } else if (std::exchange(found->second.isBeingAdded, true)) {
        found->second.waiting.emplace_back(
            [this, uuid, configuration, completion] { save(uuid, configuration, completion); });
    } else {
        networkManager.whenReady([self = shared_from_this(), uuid, configuration, completion] {
            self->add(uuid, configuration, completion);
        });
    }
}

void NetworkManagerProfiles::add(const std::string& uuid, const VPNConfiguration& configuration,
                                 PreferencesCompletion completion) {
    auto* client = networkManager.running();
    if (client == nullptr) {
        added(uuid, notRunning(readWriteFailed), completion);
        return;
    }
    const auto connection = makeConnection(uuid);
    write(configuration, connection.get());
    nm_client_add_connection2(
        client, settingsOf(connection.get()),
        static_cast<NMSettingsAddConnection2Flags>(
            NM_SETTINGS_ADD_CONNECTION2_FLAG_TO_DISK |
            NM_SETTINGS_ADD_CONNECTION2_FLAG_BLOCK_AUTOCONNECT),
        nullptr, TRUE, nullptr, answered,
        passing([self = shared_from_this(), uuid,
                 completion = std::move(completion)](GObject* source, GAsyncResult* result) {
            GFailure failure;
            const GPtr<NMRemoteConnection> made(nm_client_add_connection2_finish(
                NM_CLIENT(source), result, nullptr, failure.out()));
            self->added(uuid,
                        made ? std::nullopt
                             : std::optional(vpnError(readWriteFailed, failure.text())),
                        completion);
        }));
}

void NetworkManagerProfiles::added(const std::string& uuid, const std::optional<Error>& error,
                                   const PreferencesCompletion& completion) {
    const auto found = unsaved.find(uuid);
    const auto waiting = std::exchange(found->second, {}).waiting;
    if (!error)
        unsaved.erase(found);
    completion(error);
    for (const auto& save : waiting)
        save();
}

void NetworkManagerProfiles::update(const std::string& uuid, const VPNConfiguration& configuration,
                                    PreferencesCompletion completion) {
    const auto found = saved(uuid);
    if (!found) {
        completion(found.error());
        return;
    }
    std::shared_ptr<NMConnection> changed(nm_simple_connection_new_clone(NM_CONNECTION(*found)),
                                          GObjectUnref());
    write(configuration, changed.get());
    nm_remote_connection_update2(
        *found, settingsOf(changed.get()),
        static_cast<NMSettingsUpdate2Flags>(NM_SETTINGS_UPDATE2_FLAG_TO_DISK |
                                            NM_SETTINGS_UPDATE2_FLAG_BLOCK_AUTOCONNECT),
        nullptr, nullptr, answered,
        passing(
            [changed, completion = std::move(completion)](GObject* source, GAsyncResult* result) {
                GFailure failure;
                GVariant* answer = nm_remote_connection_update2_finish(NM_REMOTE_CONNECTION(source),
                                                                       result, failure.out());
                if (answer == nullptr) {
                    completion(vpnError(readWriteFailed, failure.text()));
                    return;
                }
                g_variant_unref(answer);
                // The library learns of the change a little later; readers must already see what
                // was saved.
                if (!nm_connection_compare(NM_CONNECTION(source), changed.get(),
                                           NM_SETTING_COMPARE_FLAG_EXACT))
                    nm_connection_replace_settings_from_connection(NM_CONNECTION(source),
                                                                   changed.get());
                completion(std::nullopt);
            }));
}

void NetworkManagerProfiles::remove(const std::string& uuid, PreferencesCompletion completion) {
    if (unsaved.contains(uuid)) {
        completion(std::nullopt);
        return;
    }
    const auto found = saved(uuid);
    if (!found) {
        completion(found.error());
        return;
    }
    nm_remote_connection_delete_async(
        *found, nullptr, answered,
        passing([completion = std::move(completion)](GObject* source, GAsyncResult* result) {
            GFailure failure;
            if (nm_remote_connection_delete_finish(NM_REMOTE_CONNECTION(source), result,
                                                   failure.out()))
                completion(std::nullopt);
            else
                completion(vpnError(readWriteFailed, failure.text()));
        }));
}

// Tunnels

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
            vpnError(NEVPNError::configurationInvalid, "The VPN connection is no longer there"));
    if (!configurationOf(NM_CONNECTION(connection)).isEnabled)
        return tl::unexpected(
            vpnError(NEVPNError::configurationDisabled, "The VPN connection is disabled"));
    const auto status = tunnelStatus(uuid);
    if (status == NEVPNStatus::connecting || status == NEVPNStatus::connected)
        return {};
    const unsigned number = ++startCount;
    starts[uuid] = {number, false};
    nm_client_activate_connection_async(
        client, NM_CONNECTION(connection), nullptr, nullptr, nullptr, answered,
        passing([weak = weak_from_this(), uuid, number](GObject* source, GAsyncResult* result) {
            // The status shows the tunnel's outcome, so the answer does not matter.
            const GPtr<NMActiveConnection> active(
                nm_client_activate_connection_finish(NM_CLIENT(source), result, nullptr));
            if (const auto self = weak.lock())
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
    std::string path = nm_object_get_path(NM_OBJECT(active));
    stops.insert(path);
    nm_client_deactivate_connection_async(
        client, active, nullptr, answered,
        passing([weak = weak_from_this(), path, done = std::move(done)](GObject* source,
                                                                        GAsyncResult* result) {
            nm_client_deactivate_connection_finish(NM_CLIENT(source), result, nullptr);
            const auto self = weak.lock();
            if (!self)
                return;
            self->stops.erase(self->stops.find(path));
            done();
        }));
}

/// Repeats each request and waits for the reply, because NetworkManager answers requests in order.
void NetworkManagerProfiles::waitForStops(Duration longest) const {
    auto* client = networkManager.running();
    if (client == nullptr)
        return;
    const auto deadline = std::chrono::steady_clock::now() + longest;
    for (const auto& path : stops) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return;
        GVariant* answer = g_dbus_connection_call_sync(
            nm_client_get_dbus_connection(client), NM_DBUS_SERVICE, NM_DBUS_PATH, NM_DBUS_INTERFACE,
            "DeactivateConnection", g_variant_new("(o)", path.c_str()), nullptr,
            G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(left.count()), nullptr, nullptr);
        if (answer != nullptr)
            g_variant_unref(answer);
    }
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

// Changes

void NetworkManagerProfiles::changed(const NetworkManagerClient::Changes& changes) {
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
