#pragma once

#include "Base/NotificationCenter.h"
#include "Base/UnixSocket.h"
#include "Platform/PlatformFactory.h"
#include "Platform/macOS/MacAppleEventManager.h"
#include "Platform/macOS/MacApplication.h"
#include "Platform/macOS/MacDispatch.h"
#include "Platform/macOS/MacFoundation.h"
#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacQuitSignals.h"
#include "Platform/macOS/MacStatusBar.h"
#include "Platform/macOS/MacSystemLog.h"
#include "Platform/macOS/MacWorkspace.h"

#include <cstdlib>

namespace quoxelin {

/// The parts of the platform that are real even on simulated services: queues, time, sockets,
/// files, logs, windows.
struct MacDesktop {
    explicit MacDesktop(const LaunchOptions& options) {
        if (options.callbackURL)
            appleEventManager.send(options.callbackURL);
    }

    /// Whether a user may be present. False on a Mac that only runs tests.
    bool isAttended() const { return std::getenv("QUOXELIN_UNATTENDED") == nullptr; }

    MacDispatch dispatch;
    UnixSocketConnector connector;
    NotificationCenter notificationCenter;
    MacSystemLog systemLog;
    MacFileManager fileManager;
    MacApplication application{notificationCenter};
    MacStatusBar statusBar;
    MacPanels panels;
    MacWorkspace workspace;
    MacPasteboard pasteboard;
    MacOpenPanel openPanel;
    MacAppleEventManager appleEventManager;
    MacQuitSignals quitSignals{[this] { application.terminate(); }};
};

} // namespace quoxelin
