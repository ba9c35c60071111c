#pragma once

#include "Platform/Platform.h"
#include "Platform/PlatformFactory.h"
#include "Simulation/Desktop/SteeredScreen.h"
#include "Simulation/Desktop/SystemCommands.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/System/SimulatedSystem.h"

#include <cstdio>

namespace quoxelin {

/// A real desktop with the services of the simulated system. Lines on standard input control it
/// (docs/simulation.md), unless standard input is a terminal.
///
/// Without a user, the status icon, clipboard, browser and folder chooser are simulated too.
///
/// Each operating system provides a `Desktop` (the real parts, named like `Platform`'s members, and
/// `isAttended()`), a `Screen` (a `SteeredScreen` made from the desktop) and a `StandardInput`
/// (which passes on lines and reports when the main loop is about to wait).
template <typename Desktop, typename Screen, typename StandardInput>
class SteeredHost final : public PlatformHost {
  public:
    explicit SteeredHost(const LaunchOptions& options)
        : desktop(options), services(compose(options)), screen(desktop),
          steering(
              [this](Duration delay, Work work) {
                  desktop.dispatch.main().asyncAfter(delay, std::move(work));
              },
              writeAnswer) {
        system.becomeDemonstration();
        addServiceCommands(steering, system);
        if (!desktop.isAttended())
            addDesktopCommands(steering, system);
        addScreenCommands(steering, screen, services);
        // A browser hands the URL over.
        steering.add("open-url", [this](SteeringReader& reader) {
            return doing([this, url = reader.text("url")] { desktop.appleEventManager.send(url); });
        });
    }

    const Platform& platform() const override { return services; }

  private:
    static void writeAnswer(const std::string& line) {
        std::fputs((line + '\n').c_str(), stdout);
        std::fflush(stdout);
    }

    /// The real one if there is a user.
    template <typename Interface>
    Interface& attended(Interface& real, Interface& simulated) {
        return desktop.isAttended() ? real : simulated;
    }

    Platform compose(const LaunchOptions& options) {
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
            .statusBar = attended<NSStatusBar>(desktop.statusBar, system.statusBar),
            .panels = desktop.panels,
            .workspace = attended<NSWorkspace>(desktop.workspace, system.workspace),
            .pasteboard = attended<NSPasteboard>(desktop.pasteboard, system.pasteboard),
            .openPanel = attended<NSOpenPanel>(desktop.openPanel, system.openPanel),
            .appleEventManager = desktop.appleEventManager,
            .daemonSocketPath = options.socketPath.value_or(defaultDaemonSocketPath),
        };
    }

    Desktop desktop;
    SimulatedSystem system{desktop.dispatch, desktop.notificationCenter};
    Platform services;
    Screen screen;
    Steering steering;
    StandardInput commands{[this](std::string_view line) { steering.take(line); },
                           [this] { steering.look(); }};
};

} // namespace quoxelin
