#include "Platform/Linux/Services/NetworkManagerProfiles.h"

#include <QUuid>

namespace quoxelin {

namespace {

constexpr auto readWriteFailed = NEVPNError::configurationReadWriteFailed;

/// Tells the preferences how a request ended.
NetworkManagerClient::Done answering(PreferencesCompletion completion) {
    return [completion = std::move(completion)](const std::optional<BusError>& error) {
        completion(error ? std::optional(vpnError(readWriteFailed, error->text)) : std::nullopt);
    };
}

} // namespace

std::shared_ptr<NetworkManagerProfiles>
NetworkManagerProfiles::make(Bus& systemBus, std::function<void()> statusChanged,
                             std::function<void()> configurationChanged) {
    return std::shared_ptr<NetworkManagerProfiles>(new NetworkManagerProfiles(
        systemBus, std::move(statusChanged), std::move(configurationChanged)));
}

NetworkManagerProfiles::NetworkManagerProfiles(Bus& systemBus, std::function<void()> statusChanged,
                                               std::function<void()> configurationChanged)
    : networkManager(systemBus, [this](const auto& changes) { changed(changes); }),
      statusChanged(std::move(statusChanged)),
      configurationChanged(std::move(configurationChanged)) {}

// Saved connections

Error NetworkManagerProfiles::notRunning(NEVPNError code) const {
    return vpnError(code, networkManager.problem());
}

void NetworkManagerProfiles::all(Completion<std::vector<std::string>, Error> completion) {
    networkManager.whenReady([self = shared_from_this(), completion = std::move(completion)] {
        if (self->networkManager.isRunning())
            completion(self->networkManager.profiles());
        else
            completion(tl::unexpected(self->notRunning(readWriteFailed)));
    });
}

Result<VPNProfile, Error> NetworkManagerProfiles::saved(const std::string& uuid) const {
    if (!networkManager.isRunning())
        return tl::unexpected(notRunning(readWriteFailed));
    const auto* profile = networkManager.find(uuid);
    if (profile == nullptr)
        return tl::unexpected(
            vpnError(NEVPNError::configurationStale, "The VPN connection no longer exists"));
    return *profile;
}

Result<VPNConfiguration, Error> NetworkManagerProfiles::read(const std::string& uuid) const {
    if (unsaved.contains(uuid))
        return {};
    return saved(uuid).map([](const auto& profile) { return profile.configuration(); });
}

std::string NetworkManagerProfiles::makeNew() {
    const auto uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    return unsaved.try_emplace(uuid).first->first;
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
    if (!networkManager.isRunning()) {
        added(uuid, notRunning(readWriteFailed), completion);
        return;
    }
    VPNProfile profile;
    profile.uuid = uuid;
    profile.set(configuration);
    networkManager.add(
        profile, answering([self = shared_from_this(), uuid, completion = std::move(completion)](
                               const auto& error) { self->added(uuid, error, completion); }));
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
    const auto profile = saved(uuid);
    if (!profile) {
        completion(profile.error());
        return;
    }
    auto changed = *profile;
    changed.set(configuration);
    // Saving may make polkit ask the user.
    if (changed.isLike(*profile))
        completion(std::nullopt);
    else
        networkManager.update(changed, answering(std::move(completion)));
}

void NetworkManagerProfiles::remove(const std::string& uuid, PreferencesCompletion completion) {
    if (unsaved.contains(uuid)) {
        completion(std::nullopt);
        return;
    }
    if (const auto found = saved(uuid); !found)
        completion(found.error());
    else
        networkManager.remove(uuid, answering(std::move(completion)));
}

} // namespace quoxelin
