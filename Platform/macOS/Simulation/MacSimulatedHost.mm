#include "Platform/macOS/Simulation/MacSimulatedHost.h"

#include "Platform/Simulated/SteeringCommands.h"

#include <cstdio>

namespace quoxelin {

namespace {

void answer(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

} // namespace

MacSimulatedHost::MacSimulatedHost(const LaunchOptions& options)
    : desktop(options),
      services{
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
          .statusBar = desktop.statusBar,
          .panels = desktop.panels,
          .workspace = desktop.workspace,
          .pasteboard = desktop.pasteboard,
          .openPanel = desktop.openPanel,
          .appleEventManager = desktop.appleEventManager,
          .daemonSocketPath = options.socketPath.value_or(defaultDaemonSocketPath),
      },
      steering(desktop.dispatch, answer) {
    system.becomeDemonstration();
    addAllCommands(steering, system);
    steering.addAction("become-active", [this] {
        desktop.notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    });
    steering.addAction("quit", [this] { desktop.application.terminate(); });
}

} // namespace quoxelin
