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

/// All that the application knows of the account and the tunnel, and all that a person can do about
/// them. The panel shows its published fields and calls its actions. Main thread only; an operation
/// called on another thread is repeated on the main queue.
///
/// The actions' code: AppViewState+Connection.cpp, AppViewState+Accounts.cpp,
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

    /// The store becomes the bus client's delegate and follows the tunnel's status; neither the bus
    /// nor the daemon is touched before `start`.
    static std::shared_ptr<AppViewState> make(const Dependencies& dependencies,
                                              std::shared_ptr<HashiBusClient> hashiBus);

    static std::shared_ptr<AppViewState> shared();

    Published<LoginViewState> login{*this, {}};
    Published<VpnViewState> vpn{*this, {}};
    /// The daemon's accounts.
    Published<std::vector<ProfileInfo>> profiles{*this, {}};
    Published<std::string> currentProfileId{*this, {}};
    /// The helper awaits the user's approval; written by the launch sequence.
    Published<bool> helperNeedsApproval{*this, false};
    /// The last failure to register or reach the helper; written by the launch sequence.
    Published<std::optional<std::string>> helperRegistrationError{*this, std::nullopt};

    /// Begins to follow the daemon.
    void start();

    /// Daemon on; tunnel configuration saved and started. Every start is checked on 2 seconds
    /// later, and tried again, three times at most, while the tunnel does not come up. Without the
    /// system extension's approval only the daemon is turned on.
    void connect();

    /// Daemon off, tunnel stopped, nothing tried again.
    void disconnect();

    /// Asks the daemon once a second, for two minutes at most, whether the login has been
    /// completed, then connects. Runs may overlap; a log-out ends those begun before it.
    void pollForLoginCompletion();

    /// Disconnects, empties the account and tells the daemon. Until the daemon reports that it
    /// needs a login, what the bus still says of the account is not believed.
    void logout();

    /// Asks for the daemon's accounts. On a failure everything stays as it is.
    void refreshProfiles();

    /// Makes another account current; shown at once, confirmed or undone by the daemon's answer.
    void switchProfile(std::string id);

    /// The same, and then opens the account's login page.
    void switchProfileAndLogin(std::string id);

    /// Opens a login page for an account that the daemon does not know yet.
    void addNewAccount();

    /// Removes the whole product from the machine and quits, unless the user refuses the
    /// administrator password or the removal fails.
    void uninstall();

    /// Called by the bus client; the message is worked on a turn of the main queue later.
    void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override;

  private:
    AppViewState(const Dependencies& dependencies, std::shared_ptr<HashiBusClient> hashiBus);

    void log(const std::string& message);

    void followTunnel();
    void updateState(const HashiBusNotify& notify);
    void followBackendState(HashiBusState state, LoginViewState& s);
    void applyStatus(const DaemonStatus& status);
    /// Publishes what the daemon told of the account, and what comes of it.
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

    /// What the ticks of one run share.
    struct LoginPolling {
        int attempts = 0;
        /// `logoutCount` when the run began.
        int logoutCount = 0;
    };
    void scheduleLoginPollingTick(std::shared_ptr<LoginPolling> polling);
    void loginPollingTick(const std::shared_ptr<LoginPolling>& polling);
    void loginPollingAnswer(const std::shared_ptr<LoginPolling>& polling,
                            const Result<DaemonStatus, LocalAPIError>& answer);
    void refreshProfilesWithRetry(const std::optional<std::string>& targetId, int attempts,
                                  double delay);
    void applyLocalCurrentProfile(const std::string& id);
    void openLoginPage(const std::string& text);

    void runPrivilegedCleanup(std::function<void(bool succeeded)> completion);
    void removeEverything();
    void removeSupportFolder();

    Dependencies dependencies;
    std::shared_ptr<HashiBusClient> hashiBus;
    std::vector<Subscription> cancellables;
    /// The last that the bus reported.
    HashiBusState currentBackendState = HashiBusState::noState;
    /// From `logout` until the daemon reports that it needs a login.
    bool isLoggingOut = false;
    int logoutCount = 0;
    /// The last asked for: a configuration that is still being saved when the user disconnects
    /// must not start the tunnel after all.
    bool wantsTunnel = false;
    /// The pending check on the last start.
    std::optional<WorkItem> vpnConnectRetryWork;
    /// Since the last `connect`.
    int vpnRetryCount = 0;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
