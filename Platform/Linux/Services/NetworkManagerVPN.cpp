#include "Platform/Linux/Services/NetworkManagerVPN.h"

#include "Base/NotificationCenter.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/NetworkManagerProfiles.h"

namespace quoxelin {

namespace {

/// A NetworkManager connection, read whenever it is asked for. It is known by its UUID, so this
/// survives a restart of NetworkManager. Completions may be called before a request returns.
class Manager final : public NETunnelProviderManager {
  public:
    Manager(std::shared_ptr<NetworkManagerProfiles> profiles, std::string uuid)
        : profiles(std::move(profiles)), uuid(std::move(uuid)) {}

    VPNConfiguration configuration() const override {
        return profiles->read(uuid).value_or(VPNConfiguration());
    }

    void loadFromPreferences(PreferencesCompletion completion) override {
        const auto read = profiles->read(uuid);
        completion(read ? std::nullopt : std::optional(read.error()));
    }

    void saveToPreferences(const VPNConfiguration& configuration,
                           PreferencesCompletion completion) override {
        profiles->save(uuid, configuration, std::move(completion));
    }

    void removeFromPreferences(PreferencesCompletion completion) override {
        profiles->remove(uuid, std::move(completion));
    }

    std::optional<int> status() const override { return profiles->status(uuid); }
    Result<void, Error> startVPNTunnel() override { return profiles->start(uuid); }
    void stopVPNTunnel() override { profiles->stop(uuid); }
    void fetchLastDisconnectError(PreferencesCompletion completion) override {
        completion(profiles->lastFailure(uuid));
    }

  private:
    std::shared_ptr<NetworkManagerProfiles> profiles;
    const std::string uuid;
};

} // namespace

NetworkManagerVPN::NetworkManagerVPN(NotificationCenter& notificationCenter, Bus& systemBus)
    : profiles(NetworkManagerProfiles::make(systemBus, lifetime.weakly([&notificationCenter] {
          notificationCenter.post(NEVPNStatusDidChange);
      }),
                                            lifetime.weakly([&notificationCenter] {
                                                notificationCenter.post(NEVPNConfigurationChange);
                                            }))) {}

NetworkManagerVPN::~NetworkManagerVPN() = default;

void NetworkManagerVPN::loadAllFromPreferences(Completion<Managers, Error> completion) {
    profiles->all([profiles = profiles, completion = std::move(completion)](
                      const Result<std::vector<std::string>, Error>& uuids) {
        if (!uuids) {
            completion(tl::unexpected(uuids.error()));
            return;
        }
        Managers managers;
        for (const auto& uuid : *uuids)
            managers.push_back(std::make_shared<Manager>(profiles, uuid));
        completion(std::move(managers));
    });
}

void NetworkManagerVPN::endTunnels(std::chrono::milliseconds longest) const {
    quoxelin::endTunnels(profiles->stoppedTunnels(), Bus::systemAddress(), longest);
}

std::shared_ptr<NETunnelProviderManager> NetworkManagerVPN::makeTunnelProviderManager() {
    return std::make_shared<Manager>(profiles, profiles->makeNew());
}

} // namespace quoxelin
