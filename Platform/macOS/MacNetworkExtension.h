#pragma once

#include "Platform/NetworkExtension.h"

namespace quoxelin {

class FrameworkNotifications;
class NotificationCenter;

class MacNetworkExtension final : public NetworkExtension {
  public:
    /// Forwards the framework's two notifications to the notification center.
    explicit MacNetworkExtension(NotificationCenter& notificationCenter);
    ~MacNetworkExtension() override;

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;
    bool sharesProtocolObjects() const override { return true; }

  private:
    std::unique_ptr<FrameworkNotifications> notifications;
};

} // namespace quoxelin
