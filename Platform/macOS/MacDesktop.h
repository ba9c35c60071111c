#pragma once

#include "Base/NotificationCenter.h"
#include "Base/UnixSocket.h"
#include "Platform/PlatformFactory.h"
#include "Platform/macOS/MacAppleEventManager.h"
#include "Platform/macOS/MacApplication.h"
#include "Platform/macOS/MacDispatch.h"
#include "Platform/macOS/MacFoundation.h"
#include "Platform/macOS/MacPanels.h"
#include "Platform/macOS/MacStatusBar.h"
#include "Platform/macOS/MacSystemLog.h"
#include "Platform/macOS/MacWorkspace.h"

namespace quoxelin {

/// What is real on every Mac, whatever services lie under the application: queues, time, sockets,
/// files, logs, windows.
struct MacDesktop {
    explicit MacDesktop(const LaunchOptions& options) {
        if (options.callbackURL)
            appleEventManager.send(options.callbackURL);
    }

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
};

} // namespace quoxelin
