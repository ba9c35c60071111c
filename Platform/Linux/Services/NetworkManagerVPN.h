#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/Subscription.h"
#include "Platform/NetworkExtension.h"

namespace quoxelin {

class Bus;
class NetworkManagerProfiles;
class NotificationCenter;

/// NetworkManager's VPN connections as the application's VPN preferences. Completions come on the
/// main thread.
///
/// NetworkManager need not run: then nothing can be loaded, which is an error, and once it runs, or
/// runs again, that is told as a change of the configurations and of the status.
class NetworkManagerVPN final : public NetworkExtension {
  public:
    /// NetworkManager is looked for on that bus, which lives longer, as does the notification
    /// centre, where the two notifications are posted.
    NetworkManagerVPN(NotificationCenter& notificationCenter, Bus& systemBus);
    ~NetworkManagerVPN() override;

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;

    /// For the end of the process: waits so long at most for NetworkManager to take note of the
    /// stops asked for, which would be lost otherwise.
    void waitForStops(Duration longest) const;

  private:
    void busChanged();

    Bus& systemBus;
    /// First, because what comes next refers to it and outlives this object.
    Lifetime lifetime;
    std::shared_ptr<NetworkManagerProfiles> profiles;
    Subscription busObservation;
};

} // namespace quoxelin
