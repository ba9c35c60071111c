#pragma once

#include "Base/Dispatch.h"
#include "Base/NotificationCenter.h"
#include "Platform/Platform.h"
#include "Simulation/System/SimulatedAppleScript.h"
#include "Simulation/System/SimulatedApplication.h"
#include "Simulation/System/SimulatedFoundation.h"
#include "Simulation/System/SimulatedNetworkExtension.h"
#include "Simulation/System/SimulatedPanels.h"
#include "Simulation/System/SimulatedServiceManagement.h"
#include "Simulation/System/SimulatedStatusBar.h"
#include "Simulation/System/SimulatedSystemExtensions.h"
#include "Simulation/System/SimulatedSystemLog.h"
#include "Simulation/System/SimulatedUpdates.h"
#include "Simulation/System/SimulatedUserNotificationCenter.h"
#include "Simulation/System/SimulatedWorkspace.h"
#include "Simulation/System/SimulatedXPC.h"

namespace quoxelin {

/// The launchd property list that describes the privileged helper.
inline constexpr const char* simulatedHelperPlistName = "com.quoxelin.desktop.helper.plist";

/// An operating system in memory, with its user. Each service keeps its state and answers on the
/// given dispatch: virtual time in tests, real time in the demo. Tests control it through the
/// methods of the services.
///
/// A new system is a machine on which the application was just installed: nothing is registered or
/// approved, and nothing is refused. It must outlive the application that runs on it, and the
/// dispatch and the notification center must outlive the system.
struct SimulatedSystem {
    SimulatedSystem(Dispatch& dispatch, NotificationCenter& notificationCenter);
    SimulatedSystem(const SimulatedSystem&) = delete;
    SimulatedSystem& operator=(const SimulatedSystem&) = delete;

    /// The system as the application sees it, with the given connections to the daemon. The system
    /// must outlive the platform.
    Platform platform(Connector& connector);

    /// Adds the delays of a real machine. The helper answers, the extension can be activated, and
    /// notifications are allowed.
    void becomeDemonstration();

    Dispatch& dispatch;
    NotificationCenter& notificationCenter;

    SimulatedSystemLog systemLog;
    SimulatedBundle mainBundle;
    SimulatedUserDefaults userDefaults;
    SimulatedProcessInfo processInfo;
    SimulatedFileManager fileManager;
    SimulatedNetworkExtension networkExtension{dispatch, notificationCenter};
    SimulatedSystemExtensions systemExtensions{dispatch};
    SimulatedServiceManagement serviceManagement;
    /// The helper can be launched unless it waits for approval or is switched off.
    SimulatedXPC xpc{dispatch};
    SimulatedUserNotificationCenter userNotificationCenter{dispatch};
    SimulatedUpdates updates{dispatch};
    SimulatedAppleScript appleScript{dispatch};
    SimulatedApplication application{dispatch, notificationCenter};
    SimulatedStatusBar statusBar;
    SimulatedPanels panels;
    SimulatedWorkspace workspace;
    SimulatedPasteboard pasteboard;
    SimulatedOpenPanel openPanel{dispatch};
    SimulatedAppleEventManager appleEventManager;
};

} // namespace quoxelin
