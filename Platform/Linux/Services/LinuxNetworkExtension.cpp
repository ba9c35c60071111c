#include "Platform/Linux/Services/LinuxNetworkExtension.h"

#include "Base/NotificationCenter.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/LinuxNETunnelProviderManager.h"

namespace quoxelin {

LinuxNetworkExtension::LinuxNetworkExtension(NotificationCenter& notificationCenter, Bus& systemBus)
    : systemBus(systemBus),
      profiles(NetworkManagerProfiles::make(
          lifetime.weakly([&notificationCenter] { notificationCenter.post(NEVPNStatusDidChange); }),
          lifetime.weakly(
              [&notificationCenter] { notificationCenter.post(NEVPNConfigurationChange); }))),
      busObservation(systemBus.observe([this] { busChanged(); })) {
    busChanged();
}

LinuxNetworkExtension::~LinuxNetworkExtension() = default;

void LinuxNetworkExtension::busChanged() {
    if (systemBus.isConnected())
        profiles->client().connect(Bus::systemAddress());
    else
        profiles->client().disconnect();
}

void LinuxNetworkExtension::loadAllFromPreferences(Completion<Managers, Error> completion) {
    profiles->all([profiles = profiles, completion = std::move(completion)](
                      const Result<std::vector<std::string>, Error>& uuids) {
        if (!uuids) {
            completion(tl::unexpected(uuids.error()));
            return;
        }
        Managers managers;
        for (const auto& uuid : *uuids) {
            if (auto profile = profiles->read(uuid))
                managers.push_back(std::make_shared<LinuxNETunnelProviderManager>(
                    profiles, uuid, *std::move(profile)));
        }
        completion(std::move(managers));
    });
}

void LinuxNetworkExtension::waitForStops(Duration longest) const {
    profiles->waitForStops(longest);
}

std::shared_ptr<NETunnelProviderManager> LinuxNetworkExtension::makeTunnelProviderManager() {
    return std::make_shared<LinuxNETunnelProviderManager>(profiles);
}

} // namespace quoxelin
