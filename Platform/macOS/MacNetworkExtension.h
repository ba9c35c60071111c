#pragma once

#include "Platform/NetworkExtension.h"

namespace quoxelin {

class FrameworkNotifications;
class NotificationCenter;

class MacNetworkExtension final : public NetworkExtension {
  public:
    /// Posts the framework's two notifications on the notification centre.
    explicit MacNetworkExtension(NotificationCenter& notificationCenter);
    ~MacNetworkExtension() override;

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;

  private:
    std::unique_ptr<FrameworkNotifications> notifications;
};

} // namespace quoxelin
