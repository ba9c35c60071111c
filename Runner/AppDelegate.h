#pragma once

#include "Base/MainThread.h"
#include "Base/Subscription.h"
#include "Base/Url.h"
#include "Platform/NSApplication.h"
#include "Platform/Platform.h"
#include "Platform/UserNotifications.h"
#include "Runner/Shared/QuoxelinCLI.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

class AppLogger;
class AppViewState;
class HostingController;
class LocalAPIClient;
class MenuBar;
class NSPanel;
class NSStatusItem;
class SMAppService;
class SPUStandardUpdaterController;
class SystemExtensionService;
class VPNTunnelService;

/// Runs the application: the launch sequence, the status item with its panel, the main menu, the
/// callback URL of a browser login, and the exit. Main thread only; a public operation called on
/// another thread is repeated on the main queue.
///
/// AppDelegate+Launch.cpp has the launch sequence, AppDelegate+MenuBar.cpp the status item, the
/// panel and the main menu, AppDelegate.cpp the rest.
class AppDelegate final : public NSApplicationDelegate,
                          public UNUserNotificationCenterDelegate,
                          public std::enable_shared_from_this<AppDelegate> {
  public:
    struct Dependencies {
        const Platform& platform;
        AppLogger& logger;
        LocalAPIClient& localAPI;
        VPNTunnelService& tunnel;
        std::shared_ptr<SystemExtensionService> systemExtension;
        std::shared_ptr<AppViewState> appState;

        /// The shared services on the current platform.
        static Dependencies fromCurrentPlatform();
    };

    /// Shared, because the notification center keeps a weak reference to its delegate.
    static std::shared_ptr<AppDelegate> make(const Dependencies& dependencies);
    ~AppDelegate() override;

    void applicationDidFinishLaunching() override;
    void applicationWillTerminate() override;

    /// Takes the direct object's string of a get-URL event. Ignores texts that are not URLs.
    void handleGetURLEvent(const std::optional<std::string>& directObject);

    /// Called by the browser after a login. Wakes the login poll and shows the panel. The token in
    /// the URL proves nothing and is not used otherwise.
    void handleIncomingURL(const Url& url);

    /// Shows notifications even while the application is in front.
    void willPresent(const UNNotificationRequest& notification,
                     std::function<void(unsigned options)> completionHandler) override;

    void setupMenuBar();
    void setupMainMenu();
    void updateStatusItemIcon();
    void updateStatusItemToolTip();

    /// The action of a click on the status item.
    void togglePopover();

    /// Shows the panel under the status item and brings it to the front.
    void showWindow();

  private:
    explicit AppDelegate(const Dependencies& dependencies);

    void requestNotificationPermission();
    void registerURLHandler();
    void registerLoginItemIfNeeded();
    void registerHelper();
    void publishHelperState(bool needsApproval, std::optional<std::string> error);
    void ensureHelperReadyAndStart(int retryCount);
    void helperAnswered(bool isReachable, int retryCount);
    void observeBecomingActive();
    void startDaemonAndSystemExtension();
    void startAppState();

    void makePanel();
    void installGlobalClickMonitor();
    NSPanel& panel();

    const Platform& platform;
    LocalAPIClient& localAPI;
    VPNTunnelService& tunnel;
    std::shared_ptr<SystemExtensionService> systemExtension;

    /// Declared before `menuBar`, whose updater model uses it.
    std::unique_ptr<SPUStandardUpdaterController> updaterController;
    std::unique_ptr<MenuBar> menuBar;
    std::unique_ptr<HostingController> hostingController;

    std::unique_ptr<NSStatusItem> statusItem;
    std::unique_ptr<NSPanel> overlayWindow;
    std::shared_ptr<AppViewState> appState;
    QuoxelinCLI cli;
    /// They answer as long as they live.
    std::unique_ptr<SMAppService> loginItem;
    std::unique_ptr<SMAppService> helperService;
    bool didStartAppState = false;
    static constexpr bool alwaysRegisterHelperOnLaunch = true;
    std::optional<Subscription> globalClickMonitor;
    /// Always empty: the system tints the icon when its appearance changes.
    std::optional<Subscription> appearanceObserver;
    std::optional<Subscription> appActiveObserver;
    std::optional<Subscription> toolTipObserver;
    std::string statusItemToolTip;
    AppLogger& logger;
    MainThread mainThread{platform.dispatch};
};

} // namespace quoxelin
