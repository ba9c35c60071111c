#pragma once

#include "Base/Dispatch.h"
#include "Base/MainThread.h"
#include "Base/Published.h"
#include "Base/Result.h"
#include "Runner/Models/HashiBus/DaemonStatus.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"
#include "Runner/Services/State/HashiBusClient.h"
#include "Runner/Services/State/LocalAPIError.h"
#include "Runner/Stores/LoginViewState.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

class AppLogger;
class AppleScript;
class LocalAPIClient;
class NSApplication;
class NSFileManager;
class NSUserDefaults;
class NSWorkspace;
class ServiceManagement;
class SystemExtensionService;
class UNUserNotificationCenter;
class VPNTunnelService;

/// The state of the account and the tunnel, and the user's actions on them. The panel shows the
/// published fields and calls the actions. Main thread only; operations called on another thread
/// are repeated on the main queue.
///
/// The actions are in AppViewState+Connection.cpp, AppViewState+Accounts.cpp and
/// AppViewState+Uninstall.cpp.
class AppViewState final : public ObservableObject, public HashiBusClientDelegate {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        AppLogger& logger;
        LocalAPIClient& localAPI;
        VPNTunnelService& tunnel;
        SystemExtensionService& systemExtension;
        UNUserNotificationCenter& notificationCenter;
        NSWorkspace& workspace;
        AppleScript& appleScript;
        ServiceManagement& serviceManagement;
        NSUserDefaults& userDefaults;
        NSFileManager& fileManager;
        NSApplication& application;
    };

    /// Makes the store the bus client's delegate and observes the tunnel's status. The bus and the
    /// daemon are not used before `start`.
    static std::shared_ptr<AppViewState> make(const Dependencies& dependencies,
                                              std::shared_ptr<HashiBusClient> hashiBus);

    static std::shared_ptr<AppViewState> shared();

    Published<LoginViewState> login{*this, {}};
    Published<VpnViewState> vpn{*this, {}};
    Published<std::vector<ProfileInfo>> profiles{*this, {}};
    Published<std::string> currentProfileId{*this, {}};
    /// The helper needs the user's approval. Written by the launch sequence.
    Published<bool> helperNeedsApproval{*this, false};
    /// The last failure to register or reach the helper. Written by the launch sequence.
    Published<std::optional<std::string>> helperRegistrationError{*this, std::nullopt};

    /// Starts following the daemon.
    void start();

    /// Turns the daemon on, saves the tunnel configuration and starts the tunnel. Each start is
    /// checked after 2 seconds and retried up to three times if the tunnel is not up. Without
    /// approval of the system extension, only the daemon is turned on.
    void connect();

    /// Turns the daemon off, stops the tunnel and cancels retries. No tunnel starts by itself
    /// afterward, whatever is still pending.
    void disconnect();

    /// Asks the daemon once a second, for at most two minutes, whether the login is complete, then
    /// connects. Runs may overlap; a logout ends all runs begun before it.
    void pollForLoginCompletion();

    /// Disconnects, clears the account and tells the daemon. Account data from the bus is ignored
    /// until the daemon reports that it needs a login.
    void logout();

    /// Asks for the daemon's accounts. A failure changes nothing.
    void refreshProfiles();

    /// Switches to another account. Published at once, confirmed or reverted by the daemon's
    /// answer.
    void switchProfile(std::string id);

    /// Switches the account, then opens its login page.
    void switchProfileAndLogin(std::string id);

    /// Opens a login page for a new account.
    void addNewAccount();

    /// Removes the whole product from the machine and quits, unless the user refuses the
    /// administrator password or the removal fails. While one removal is in progress, others do
    /// nothing.
    void uninstall();

    /// Called by the bus client. The message is handled on a later turn of the main queue.
    void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override;

  private:
    AppViewState(const Dependencies& dependencies, std::shared_ptr<HashiBusClient> hashiBus);

    void log(const std::string& message);

    void followTunnel();
    void updateState(const HashiBusNotify& notify);
    void followBackendState(HashiBusState state, LoginViewState& s);
    void applyStatus(const DaemonStatus& status);
    /// Publishes the account's changes and acts on them.
    void publishAndFollowUp(const LoginViewState& next);
    void publishLoginIfChanged(const LoginViewState& next);
    void notifyJailTransition(const LoginViewState& old, const LoginViewState& now);
    void applyProfiles(const ProfilesResponse& answer);

    void setDaemonWantRunning(bool wantRunning);
    void saveConfigurationAndStartVPN();
    void startVPNWithRetry();
    void scheduleVPNRetryIfNeeded();
    void retryVPNIfNeeded();
    void cancelVPNRetry();

    /// The state shared by the ticks of one run.
    struct LoginPolling {
        int attempts = 0;
        /// The value of `loginPollingGeneration` when the run began.
        int generation = 0;
    };
    void scheduleLoginPollingTick(std::shared_ptr<LoginPolling> polling);
    void loginPollingTick(const std::shared_ptr<LoginPolling>& polling);
    void loginPollingAnswer(const std::shared_ptr<LoginPolling>& polling,
                            const Result<DaemonStatus, LocalAPIError>& answer);
    void endLoginPolling();
    void refreshProfilesWithRetry(const std::optional<std::string>& targetId, int attempts,
                                  double delay);
    void applyLocalCurrentProfile(const std::string& id);

    void runPrivilegedCleanup(std::function<void(bool succeeded)> completion);
    void removeEverything();
    void removeSupportFolder();

    Dependencies dependencies;
    std::shared_ptr<HashiBusClient> hashiBus;
    std::vector<Subscription> cancellables;
    /// The last state reported by the bus.
    HashiBusState currentBackendState = HashiBusState::noState;
    /// From `logout` until the daemon reports that it needs a login.
    bool isLoggingOut = false;
    /// Login polling runs of earlier generations have ended.
    int loginPollingGeneration = 0;
    /// From `uninstall` until the user refuses or the cleanup fails.
    bool isUninstalling = false;
    /// The cleanup has succeeded: nothing follows the daemon or connects any more.
    bool isRemoved = false;
    /// Whether the user last asked to connect. A save that completes after a disconnect must not
    /// start the tunnel.
    bool wantsTunnel = false;
    /// The pending check of the last start.
    std::optional<WorkItem> vpnConnectRetryWork;
    /// Retries since the last `connect`.
    int vpnRetryCount = 0;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
