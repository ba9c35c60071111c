#pragma once

#include "Base/Lifetime.h"
#include "Platform/NetworkExtension.h"

#include <chrono>

namespace quoxelin {

class Bus;
class NetworkManagerProfiles;
class NotificationCenter;

/// NetworkManager's VPN connections as the application's VPN preferences. Completions run on the
/// main thread.
///
/// While NetworkManager is not running, loading fails. When it starts, that is reported as a change
/// of the configurations and the status.
class NetworkManagerVPN final : public NetworkExtension {
  public:
    /// The bus on which to find NetworkManager must outlive this object and its managers; the
    /// notification center that receives both notifications, this object.
    NetworkManagerVPN(NotificationCenter& notificationCenter, Bus& systemBus);
    ~NetworkManagerVPN() override;

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;
    bool sharesProtocolObjects() const override { return false; }

    /// Call this before the process ends. NetworkManager drops requests whose sender has exited, so
    /// this waits at most `longest` for it to accept the stops; a process that stays behind does
    /// the rest.
    void endTunnels(std::chrono::milliseconds longest) const;

  private:
    /// Declared first because the member below refers to it and may outlive this object.
    Lifetime lifetime;
    std::shared_ptr<NetworkManagerProfiles> profiles;
};

} // namespace quoxelin
