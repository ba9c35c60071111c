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

/// What is real on every Mac, whatever services lie under the application: queues, time, sockets,
/// files, logs, windows.
struct MacDesktop {
    explicit MacDesktop(const LaunchOptions& options) {
        if (options.callbackURL)
            appleEventManager.send(options.callbackURL);
    }

    /// Whether somebody may sit in front of it: a Mac that only runs tests has windows, too.
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
