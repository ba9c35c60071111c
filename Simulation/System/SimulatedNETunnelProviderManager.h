#pragma once

#include "Platform/NetworkExtension.h"
#include "Simulation/System/SimulatedNetworkExtension.h"

namespace quoxelin {

/// What an application holds of a configuration: a working copy, and the way to what is saved. Main
/// thread only.
class SimulatedNETunnelProviderManager final
    : public NETunnelProviderManager,
      public std::enable_shared_from_this<SimulatedNETunnelProviderManager> {
  public:
    using Saved = SimulatedNetworkExtension::Saved;

    /// The working copy is empty until it is loaded, or set.
    SimulatedNETunnelProviderManager(SimulatedNetworkExtension& system,
                                     std::shared_ptr<Saved> saved)
        : system(system), saved(std::move(saved)) {}

    void loadFromPreferences(PreferencesCompletion completion) override;
    void saveToPreferences(PreferencesCompletion completion) override;
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

    std::shared_ptr<NEVPNConnection> connection() const override;

    /// Takes what is saved into the working copy; nothing is saved reads as empty.
    void read();

  private:
    SimulatedNetworkExtension& system;
    std::shared_ptr<Saved> saved;
    SimulatedNetworkExtension::Configuration working;
};

} // namespace quoxelin
