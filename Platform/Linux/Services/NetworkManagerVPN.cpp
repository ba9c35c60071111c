#include "Platform/Linux/Services/NetworkManagerVPN.h"

#include "Base/NotificationCenter.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/NetworkManagerConfiguration.h"

namespace quoxelin {

NetworkManagerVPN::NetworkManagerVPN(NotificationCenter& notificationCenter, Bus& systemBus)
    : systemBus(systemBus),
      profiles(NetworkManagerProfiles::make(
          lifetime.weakly([&notificationCenter] { notificationCenter.post(NEVPNStatusDidChange); }),
          lifetime.weakly(
              [&notificationCenter] { notificationCenter.post(NEVPNConfigurationChange); }))),
      busObservation(systemBus.observe([this] { busChanged(); })) {
    busChanged();
}

NetworkManagerVPN::~NetworkManagerVPN() = default;

void NetworkManagerVPN::busChanged() {
    if (systemBus.isConnected())
        profiles->client().connect(Bus::systemAddress());
    else
        profiles->client().disconnect();
}

void NetworkManagerVPN::loadAllFromPreferences(Completion<Managers, Error> completion) {
    profiles->all([profiles = profiles, completion = std::move(completion)](
                      const Result<std::vector<std::string>, Error>& uuids) {
        if (!uuids) {
            completion(tl::unexpected(uuids.error()));
            return;
        }
        Managers managers;
        for (const auto& uuid : *uuids) {
            if (auto profile = profiles->read(uuid))
                managers.push_back(std::make_shared<NetworkManagerConfiguration>(
                    profiles, uuid, *std::move(profile)));
        }
        completion(std::move(managers));
    });
}

void NetworkManagerVPN::waitForStops(Duration longest) const {
    profiles->waitForStops(longest);
}

std::shared_ptr<NETunnelProviderManager> NetworkManagerVPN::makeTunnelProviderManager() {
    return std::make_shared<NetworkManagerConfiguration>(profiles);
}

} // namespace quoxelin
