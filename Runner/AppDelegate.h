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
class SPUStandardUpdaterController;
class SystemExtensionService;
class VPNTunnelService;

/// Runs the application: the launch sequence, the status item with its panel, the main menu, the
/// callback URL of a browser login, and the way out. Main thread only; a public operation that is
/// called elsewhere is repeated on the main queue.
///
/// The code: AppDelegate+Launch.cpp brings everything up in order, AppDelegate+MenuBar.cpp is what
/// a person sees, AppDelegate.cpp the rest.
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

        /// The shared services on the platform that this process uses.
        static Dependencies fromCurrentPlatform();
    };

    /// Shared, because the notification centre holds its delegate weakly.
    static std::shared_ptr<AppDelegate> make(const Dependencies& dependencies);
    ~AppDelegate() override;

    void applicationDidFinishLaunching() override;
    void applicationWillTerminate() override;

    /// The direct object's string of a get-URL event; what is no URL is ignored.
    void handleGetURLEvent(const std::optional<std::string>& directObject);

    /// The browser hands control back after a login: wakes the login poll and shows the panel. The
    /// token in the URL is proof of nothing and used for nothing else.
    void handleIncomingURL(const Url& url);

    /// Notifications show while the application is in front, too.
    void willPresent(const UNNotificationRequest& notification,
                     std::function<void(unsigned options)> completionHandler) override;

    void setupMenuBar();
    void setupMainMenu();
    void updateStatusItemIcon();

    /// What a click on the status item does.
    void togglePopover();

    /// Places the panel under the status item and brings it to the front.
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

    /// The updater's controller outlives what the panel shows of it.
    std::unique_ptr<SPUStandardUpdaterController> updaterController;
    std::unique_ptr<MenuBar> menuBar;
    std::unique_ptr<HostingController> hostingController;

    std::unique_ptr<NSStatusItem> statusItem;
    std::unique_ptr<NSPanel> overlayWindow;
    std::shared_ptr<AppViewState> appState;
    QuoxelinCLI cli;
    bool didStartAppState = false;
    static constexpr bool alwaysRegisterHelperOnLaunch = true;
    std::optional<Subscription> globalClickMonitor;
    /// Unset: the system tints the icon by itself when its appearance changes.
    std::optional<Subscription> appearanceObserver;
    std::optional<Subscription> appActiveObserver;
    AppLogger& logger;
    MainThread mainThread{platform.dispatch};
};

} // namespace quoxelin
