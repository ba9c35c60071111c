#include "Platform/macOS/MacHost.h"

namespace quoxelin {

namespace {

/// Gives the helper time to look up its last caller before we exit.
constexpr auto settlingTime = seconds(1);

} // namespace

MacHost::MacHost(const LaunchOptions& options)
    : desktop(options), services{
                            .dispatch = desktop.dispatch,
                            .connector = desktop.connector,
                            .notificationCenter = desktop.notificationCenter,
                            .systemLog = desktop.systemLog,
                            .mainBundle = mainBundle,
                            .userDefaults = userDefaults,
                            .processInfo = processInfo,
                            .fileManager = desktop.fileManager,
                            .networkExtension = networkExtension,
                            .systemExtensionManager = systemExtensions,
                            .serviceManagement = serviceManagement,
                            .xpc = xpc,
                            .userNotificationCenter = userNotificationCenter,
                            .updates = updates,
                            .appleScript = appleScript,
                            .application = desktop.application,
                            .statusBar = desktop.statusBar,
                            .panels = desktop.panels,
                            .workspace = desktop.workspace,
                            .pasteboard = desktop.pasteboard,
                            .openPanel = desktop.openPanel,
                            .appleEventManager = desktop.appleEventManager,
                            .daemonSocketPath =
                                options.socketPath.value_or(defaultDaemonSocketPath),
                        } {}

void MacHost::observeMissingServices(std::function<void(const std::string&)> observer) {
    if (!updates.hasKey())
        desktop.dispatch.main().async([observer = std::move(observer)] {
            observer("No updates: the application was built without the key that they are signed "
                     "with (SUPublicEDKey)");
        });
}

void MacHost::settle() {
    xpc.awaitReplies(settlingTime);
}

} // namespace quoxelin
