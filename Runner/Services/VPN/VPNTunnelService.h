#pragma once

#include "Base/MainThread.h"
#include "Base/NotificationCenter.h"
#include "Base/Published.h"
#include "Platform/NetworkExtension.h"
#include "Runner/Services/VPN/VPNConnectionStatus.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

class AppLogger;
class Dispatch;
class NSBundle;
class NSProcessInfo;

/// Manages the application's single packet-tunnel configuration in the system's VPN preferences,
/// and its tunnel. Main thread only; calls on another thread are repeated on the main queue.
/// Failures are not returned to the caller but logged, and published as a status where that
/// matters. Completions are called exactly once, on the main queue, even after the service is gone.
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
    ~VPNTunnelService();
    VPNTunnelService(const VPNTunnelService&) = delete;
    VPNTunnelService& operator=(const VPNTunnelService&) = delete;

    static VPNTunnelService& shared();

    /// Notifies on every assignment, even if the value is unchanged.
    Published<VPNConnectionStatus> connectionStatus{*this, VPNConnectionStatus::disconnected};

    /// Starts the tunnel. A refused start is retried when the configuration changes, so a
    /// permission that the user grants later takes effect.
    void start();

    /// Stops the tunnel and gives up every earlier start, even one that waits for a permission.
    void stop();

    /// Saves the configuration with the required values, and creates it if necessary.
    void ensureConfigurationSaved(std::function<void()> completion);

    /// Gives up every earlier start and removes all of this application's saved configurations,
    /// once the saves that are under way have been answered.
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
    std::shared_ptr<NETunnelProviderManager> newManager(const Managers& others);
    void configureAndSave(bool forceSave, Done completion);
    void saveAnswered();
    bool ensureConfigured(VPNConfiguration& candidate) const;
    void giveUpStarts();
    void removeSavedConfigurations(Done completion);
    void removeAll(const Managers& managers, Done completion);
    std::optional<int> heldStatus() const;
    void startVPNTunnel();
    void reportStartFailure(const Error& error);
    void updateStatus();
    void vpnStatusDidChange();
    void logDisconnectError();
    void vpnConfigurationDidChange();

    Dependencies dependencies;
    /// The configuration found or created.
    std::shared_ptr<NETunnelProviderManager> manager;
    /// The configuration being created, until it is saved.
    std::shared_ptr<NETunnelProviderManager> unsavedManager;
    int unansweredSaves = 0;
    /// The completions of removals that wait for those answers.
    std::vector<Done> waitingRemovals;
    /// The last request was a start, not a stop or a removal.
    bool wantsTunnel = false;
    /// A requested start has not succeeded yet; a configuration change retries it.
    bool pendingStartAfterApproval = false;
    /// The configuration was removed and has not been requested since.
    bool wasRemoved = false;
    Subscription statusObserver;
    Subscription configurationObserver;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
