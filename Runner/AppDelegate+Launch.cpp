#include "Base/Dispatch.h"
#include "Base/NotificationCenter.h"
#include "Platform/Foundation.h"
#include "Platform/NSPanel.h"
#include "Platform/NSStatusBar.h"
#include "Platform/NSWorkspace.h"
#include "Platform/ServiceManagement.h"
#include "Platform/Updater.h"
#include "Runner/AppDelegate.h"
#include "Runner/Services/LoginItem.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Stores/AppViewState.h"

#include <cmath>
#include <fmt/format.h>

namespace quoxelin {

namespace {

constexpr const char* helperPropertyList = "com.quoxelin.desktop.helper.plist";
constexpr int helperMaximumRetries = 10;
constexpr double helperBaseDelay = 0.5;
constexpr double helperDelayGrowth = 1.5;
constexpr const char* helperRequiresApproval =
    "Helper requires approval in System Settings → General → Login Items.";

/// Starts the app state even if approval is pending or the request never reports.
constexpr Duration appStateStartFallback = std::chrono::seconds(5);

} // namespace

void AppDelegate::applicationDidFinishLaunching() {
    logger.log("App", "Quoxelin Desktop App Launching...");
    updaterController = platform.updates.makeStandardUpdaterController(true);
    requestNotificationPermission();
    setupMenuBar();
    setupMainMenu();
    registerURLHandler();
    registerLoginItemIfNeeded();
    if (alwaysRegisterHelperOnLaunch)
        registerHelper();
    ensureHelperReadyAndStart(0);
    observeBecomingActive();
}

void AppDelegate::requestNotificationPermission() {
    platform.userNotificationCenter.setDelegate(weak_from_this());
    platform.userNotificationCenter.requestAuthorization(
        UNAuthorizationOptionAlert | UNAuthorizationOptionBadge | UNAuthorizationOptionSound,
        [&logger = logger](bool, const std::optional<Error>& error) {
            if (error)
                logger.log("App", "Notification permission error: " + error->localizedDescription);
        });
}

void AppDelegate::registerURLHandler() {
    platform.appleEventManager.setEventHandler(
        kInternetEventClass, kAEGetURL,
        mainThread.weakly([this](const std::optional<std::string>& directObject) {
            handleGetURLEvent(directObject);
        }));
}

void AppDelegate::registerLoginItemIfNeeded() {
    platform.userDefaults.removeObject("loginItemRegistered");
    loginItem = platform.serviceManagement.mainApp();
    LoginItem::registerIfNeeded(
        platform.userDefaults, platform.mainBundle.stringForInfoDictionaryKey("CFBundleVersion"),
        *loginItem, mainThread.weakly([this](const LoginItem::Outcome& outcome) {
            if (!outcome)
                logger.log("App",
                           "Login item register failed: " + outcome.error().localizedDescription);
            else if (*outcome == LoginItem::Registration::registered)
                loginItem->status([&logger = logger](int status) {
                    logger.log("App",
                               fmt::format("Registered app as login item (status: {})", status));
                });
        }));
}

/// A new attempt takes the place of one that is still unanswered.
void AppDelegate::registerHelper() {
    helperService = platform.serviceManagement.daemon(helperPropertyList);
    helperService->registerService(mainThread.weakly([this](const Result<void, Error>& outcome) {
        if (!outcome)
            logger.log("App",
                       "Helper register attempt failed: " + outcome.error().localizedDescription);
        helperService->status(mainThread.weakly([this](int status) {
            if (status == static_cast<int>(SMAppServiceStatus::requiresApproval))
                publishHelperState(true, helperRequiresApproval);
            else
                publishHelperState(false, std::nullopt);
        }));
    }));
}

void AppDelegate::publishHelperState(bool needsApproval, std::optional<std::string> error) {
    mainThread.async([this, needsApproval, error = std::move(error)] {
        appState->helperNeedsApproval = needsApproval;
        appState->helperRegistrationError = error;
    });
}

void AppDelegate::ensureHelperReadyAndStart(int retryCount) {
    cli.ping(mainThread.callback(
        [this, retryCount](bool isReachable) { helperAnswered(isReachable, retryCount); }));
}

void AppDelegate::helperAnswered(bool isReachable, int retryCount) {
    if (isReachable) {
        logger.log("App", "Helper is ready and reachable. Starting daemon...");
        startDaemonAndSystemExtension();
        return;
    }
    if (retryCount < helperMaximumRetries) {
        const double delay = helperBaseDelay * std::pow(helperDelayGrowth, retryCount);
        logger.log("App", fmt::format(
                              "Helper not reachable. Retrying in {:.2f} seconds (attempt {}/{})...",
                              delay, retryCount + 1, helperMaximumRetries));
        mainThread.asyncAfter(seconds(delay), [this, retryCount] {
            registerHelper();
            ensureHelperReadyAndStart(retryCount + 1);
        });
        return;
    }
    logger.log("App", fmt::format("Failed to communicate with Helper after {} attempts.",
                                  helperMaximumRetries));
    // The approval flag makes the application try again when it next becomes active.
    publishHelperState(true, "Failed to connect to background helper. Please restart the app or "
                             "check Login Items.");
}

void AppDelegate::observeBecomingActive() {
    appActiveObserver = platform.notificationCenter.addObserver(
        NSApplicationDidBecomeActiveNotification, mainThread.weakly([this](const Notification&) {
            if (!appState->helperNeedsApproval)
                return;
            logger.log("App", "App became active while helper needs approval, re-checking...");
            registerHelper();
            ensureHelperReadyAndStart(0);
        }));
}

void AppDelegate::startDaemonAndSystemExtension() {
    cli.up();
    systemExtension->onCompleted = mainThread.weakly([this] {
        logger.log("App", "System Extension activated, ensuring VPN configuration...");
        tunnel.ensureConfigurationSaved(mainThread.weakly([this] {
            logger.log("App", "VPN configuration ready, starting app state...");
            startAppState();
        }));
    });
    systemExtension->onFailed = mainThread.weakly([this] {
        logger.log("App", "System Extension activation failed, starting app state anyway...");
        startAppState();
    });
    systemExtension->activate();
    mainThread.asyncAfter(appStateStartFallback, [this] { startAppState(); });
}

void AppDelegate::startAppState() {
    if (std::exchange(didStartAppState, true))
        return;
    appState->start();
}

} // namespace quoxelin
