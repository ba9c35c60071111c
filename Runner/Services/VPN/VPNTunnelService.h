#pragma once

#include "Base/MainThread.h"
#include "Base/NotificationCenter.h"
#include "Base/Published.h"
#include "Platform/NetworkExtension.h"
#include "Runner/Services/VPN/VPNConnectionStatus.h"

#include <functional>
#include <memory>
#include <string>

namespace quoxelin {

class AppLogger;
class Dispatch;
class NSBundle;
class NSProcessInfo;

/// Owns the one packet-tunnel configuration that the application keeps in the system's VPN
/// preferences, and the tunnel behind it. Main thread only; a call from another thread is repeated
/// on the main queue. No operation reports a failure to its caller: it is a log line and, where it
/// matters, a status. A completion is called exactly once, on the main queue, even when the service
/// has gone meanwhile.
class VPNTunnelService final : public ObservableObject {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        AppLogger& logger;
        NetworkExtension& networkExtension;
        NotificationCenter& notificationCenter;
        NSBundle& mainBundle;
        NSProcessInfo& processInfo;
    };

    explicit VPNTunnelService(const Dependencies& dependencies);

    static VPNTunnelService& shared();

    /// Told on every assignment, also one that does not change it.
    Published<VPNConnectionStatus> connectionStatus{*this, VPNConnectionStatus::disconnected};

    /// Asks for the tunnel to run. A start that is refused is tried again when the configuration
    /// changes: that is how the user's permission, given later, takes effect.
    void start();

    /// Asks for the tunnel's end.
    void stop();

    /// Makes sure that the configuration exists in the required shape and is saved.
    void ensureConfigurationSaved(std::function<void()> completion);

    /// Removes every saved configuration of this application.
    void removeConfiguration(std::function<void()> completion);

  private:
    using Done = std::function<void()>;
    using Managers = NetworkExtension::Managers;

    void log(const std::string& message) const;

    std::string expectedProviderBundleIdentifier() const;
    std::string expectedLocalizedDescription() const;
    bool matches(const NETunnelProviderManager& candidate) const;
    std::shared_ptr<NETunnelProviderManager> firstMatch(const Managers& managers) const;

    void startMonitoring();
    void adoptExistingManager(Done completion);
    void loadManager(bool forceSave, Done completion);
    void configureAndSave(bool forceSave, Done completion);
    bool ensureConfigured(NETunnelProviderManager& candidate) const;
    void removeAll(const Managers& managers, Done completion);
    void startVPNTunnel();
    void reportStartFailure(const Error& error);
    void updateStatus();
    void vpnStatusDidChange();
    void vpnConfigurationDidChange();

    Dependencies dependencies;
    /// The adopted or created configuration.
    std::shared_ptr<NETunnelProviderManager> manager;
    /// A start was asked for and has not succeeded yet; a configuration change tries it again.
    bool pendingStartAfterApproval = false;
    /// The configuration was removed, and nobody has asked for one since.
    bool wasRemoved = false;
    Subscription statusObserver;
    Subscription configurationObserver;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
