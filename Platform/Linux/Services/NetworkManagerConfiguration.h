#pragma once

#include "Platform/Linux/Services/NetworkManagerProfiles.h"

namespace quoxelin {

/// The application's working copy of a NetworkManager VPN connection. It refers to the saved
/// connection by UUID, so it survives a restart of NetworkManager. The protocol object is handed
/// out as a copy. Main thread only.
class NetworkManagerConfiguration final : public NETunnelProviderManager {
  public:
    /// A new, empty configuration.
    explicit NetworkManagerConfiguration(std::shared_ptr<NetworkManagerProfiles> profiles);

    /// A saved configuration.
    NetworkManagerConfiguration(std::shared_ptr<NetworkManagerProfiles> profiles, std::string uuid,
                                VPNProfile profile);

    /// These may call the completion before returning.
    void loadFromPreferences(PreferencesCompletion completion) override;
    void saveToPreferences(PreferencesCompletion completion) override;
    /// Removing an unsaved configuration succeeds.
    void removeFromPreferences(PreferencesCompletion completion) override;

    std::shared_ptr<NEVPNProtocol> protocolConfiguration() const override;
    void setProtocolConfiguration(std::shared_ptr<NEVPNProtocol> protocol) override;

    std::optional<std::string> localizedDescription() const override {
        return working.localizedDescription;
    }
    void setLocalizedDescription(const std::string& description) override {
        working.localizedDescription = description;
    }

    bool isEnabled() const override { return working.isEnabled; }
    void setEnabled(bool enabled) override { working.isEnabled = enabled; }

    std::shared_ptr<NEVPNConnection> connection() const override { return tunnel; }

  private:
    std::shared_ptr<NetworkManagerProfiles> profiles;
    /// Empty until the configuration is saved.
    std::shared_ptr<std::string> uuid;
    VPNProfile working;
    std::shared_ptr<NEVPNConnection> tunnel;
};

} // namespace quoxelin
