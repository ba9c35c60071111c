#pragma once

#include "Platform/Linux/Services/NetworkManagerProfiles.h"

namespace quoxelin {

/// The tunnel behind one configuration. Main thread only.
class NetworkManagerTunnel final : public NEVPNConnection {
  public:
    /// `uuid` is empty until the configuration is saved.
    NetworkManagerTunnel(std::shared_ptr<NetworkManagerProfiles> profiles,
                         std::shared_ptr<const std::string> uuid)
        : profiles(std::move(profiles)), uuid(std::move(uuid)) {}

    int status() const override;
    Result<void, Error> startVPNTunnel() override;
    void stopVPNTunnel() override;

  private:
    std::shared_ptr<NetworkManagerProfiles> profiles;
    std::shared_ptr<const std::string> uuid;
};

} // namespace quoxelin
