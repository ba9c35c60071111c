#include "Platform/Linux/Services/NetworkManagerProfiles.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/LibNM.h"

namespace quoxelin {

namespace {

constexpr auto readWriteFailed = NEVPNError::configurationReadWriteFailed;

/// A connection that belongs to this user, so that saving it needs no administrator.
GPtr<NMConnection> makeConnection(const std::string& uuid) {
    GPtr<NMConnection> connection(nm_simple_connection_new());
    auto* general = nm_setting_connection_new();
    g_object_set(general, NM_SETTING_CONNECTION_UUID, uuid.c_str(), NM_SETTING_CONNECTION_TYPE,
                 NM_SETTING_VPN_SETTING_NAME, NM_SETTING_CONNECTION_AUTOCONNECT, FALSE, nullptr);
    nm_setting_connection_add_permission(NM_SETTING_CONNECTION(general), "user", g_get_user_name(),
                                         nullptr);
    nm_connection_add_setting(connection.get(), general);
    auto* vpn = nm_setting_vpn_new();
    // NetworkManager restores the tunnel when the connection beneath it comes back.
    g_object_set(vpn, NM_SETTING_VPN_PERSISTENT, TRUE, nullptr);
    nm_connection_add_setting(connection.get(), vpn);
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
            vpnError(NEVPNError::configurationStale, "The VPN connection no longer exists"));
    return connection;
}

Result<VPNConfiguration, Error> NetworkManagerProfiles::read(const std::string& uuid) const {
    if (unsaved.contains(uuid))
        return {};
    return saved(uuid).map(
        [](auto* connection) { return configurationOf(NM_CONNECTION(connection)); });
}

std::string NetworkManagerProfiles::makeNew() {
    const GText uuid(g_uuid_string_random());
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
    // Saving may make polkit ask the user.
    if (nm_connection_compare(NM_CONNECTION(*found), changed.get(),
                              NM_SETTING_COMPARE_FLAG_EXACT)) {
        completion(std::nullopt);
        return;
    }
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

} // namespace quoxelin
