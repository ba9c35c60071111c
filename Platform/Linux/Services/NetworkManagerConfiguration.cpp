#include "Platform/Linux/Services/NetworkManagerConfiguration.h"

#include "Platform/Linux/Services/NetworkManagerTunnel.h"

namespace quoxelin {

NetworkManagerConfiguration::NetworkManagerConfiguration(
    std::shared_ptr<NetworkManagerProfiles> profiles)
    : NetworkManagerConfiguration(std::move(profiles), std::string(), VPNProfile()) {}

NetworkManagerConfiguration::NetworkManagerConfiguration(
    std::shared_ptr<NetworkManagerProfiles> profiles, std::string uuid, VPNProfile profile)
    : profiles(std::move(profiles)), uuid(std::make_shared<std::string>(std::move(uuid))),
      working(std::move(profile)),
      tunnel(std::make_shared<NetworkManagerTunnel>(this->profiles, this->uuid)) {}

void NetworkManagerConfiguration::loadFromPreferences(PreferencesCompletion completion) {
    if (uuid->empty()) {
        working = {};
        completion(std::nullopt);
        return;
    }
    auto loaded = profiles->read(*uuid);
    if (!loaded) {
        completion(loaded.error());
        return;
    }
    working = *std::move(loaded);
    completion(std::nullopt);
}

void NetworkManagerConfiguration::saveToPreferences(PreferencesCompletion completion) {
    if (!uuid->empty()) {
        profiles->update(*uuid, working, std::move(completion));
        return;
    }
    profiles->add(working, [uuid = uuid, completion = std::move(completion)](
                               const Result<std::string, Error>& added) {
        if (!added) {
            completion(added.error());
            return;
        }
        *uuid = *added;
        completion(std::nullopt);
    });
}

void NetworkManagerConfiguration::removeFromPreferences(PreferencesCompletion completion) {
    if (uuid->empty())
        completion(std::nullopt);
    else
        profiles->remove(*uuid, std::move(completion));
}

std::shared_ptr<NEVPNProtocol> NetworkManagerConfiguration::protocolConfiguration() const {
    return working.copy().protocol;
}

void NetworkManagerConfiguration::setProtocolConfiguration(
    std::shared_ptr<NEVPNProtocol> protocol) {
    working.protocol = std::move(protocol);
    working = working.copy();
}

} // namespace quoxelin
