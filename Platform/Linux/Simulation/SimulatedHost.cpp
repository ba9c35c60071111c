#include "Platform/Linux/Simulation/SimulatedHost.h"

#include "Platform/Linux/Simulation/ScreenCommands.h"
#include "Platform/Simulated/SteeringCommands.h"

#include <cstdio>

namespace quoxelin {

namespace {

void answer(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

} // namespace

SimulatedHost::SimulatedHost(const LaunchOptions& options)
    : desktop(options), services(compose(options)), steering(desktop.dispatch, answer) {
    system.becomeDemonstration();
    addServiceCommands(steering, system);
    if (!Toolkit::hasDisplay()) {
        addStatusItemCommands(steering, system);
        addWorkspaceCommands(steering, system);
        addOpenPanelCommands(steering, system);
    }
    addScreenCommands(steering, desktop);
}

Platform SimulatedHost::compose(const LaunchOptions& options) {
    const bool display = Toolkit::hasDisplay();
    return {
        .dispatch = desktop.dispatch,
        .connector = desktop.connector,
        .notificationCenter = desktop.notificationCenter,
        .systemLog = desktop.systemLog,
        .mainBundle = system.mainBundle,
        .userDefaults = system.userDefaults,
        .processInfo = system.processInfo,
        .fileManager = desktop.fileManager,
        .networkExtension = system.networkExtension,
        .systemExtensionManager = system.systemExtensions,
        .serviceManagement = system.serviceManagement,
        .xpc = system.xpc,
        .userNotificationCenter = system.userNotificationCenter,
        .updates = system.updates,
        .appleScript = system.appleScript,
        .application = desktop.application,
        .statusBar = display ? static_cast<NSStatusBar&>(desktop.statusBar) : system.statusBar,
        .panels = desktop.panels,
        .workspace = display ? static_cast<NSWorkspace&>(desktop.workspace) : system.workspace,
        .pasteboard = display ? static_cast<NSPasteboard&>(desktop.pasteboard) : system.pasteboard,
        .openPanel = display ? static_cast<NSOpenPanel&>(desktop.openPanel) : system.openPanel,
        .appleEventManager = desktop.appleEventManager,
        .daemonSocketPath = options.socketPath.value_or(defaultDaemonSocketPath),
    };
}

} // namespace quoxelin
