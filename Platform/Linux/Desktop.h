#pragma once

#include "Base/NotificationCenter.h"
#include "Base/UnixSocket.h"
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/LinuxAppleEventManager.h"
#include "Platform/Linux/LinuxFileManager.h"
#include "Platform/Linux/QtApplication.h"
#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/QtOpenPanel.h"
#include "Platform/Linux/QtPanels.h"
#include "Platform/Linux/QtPasteboard.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Platform/Linux/QtWorkspace.h"
#include "Platform/Linux/QuitSignals.h"
#include "Platform/Linux/SyslogSystemLog.h"
#include "Platform/PlatformFactory.h"

#include <QApplication>

namespace quoxelin {

/// The toolkit's application object, with the command line that it keeps referring to.
class Toolkit {
  public:
    explicit Toolkit(const std::string& program);

    /// False where windows go nowhere.
    static bool hasDisplay();

  private:
    std::string program;
    char* arguments[2];
    int argumentCount = 1;
    QApplication application;
};

/// What is real on every Linux desktop, whatever services lie under the application: queues, time,
/// sockets, files, logs, windows.
struct Desktop {
    explicit Desktop(const LaunchOptions& options);

    /// Whether somebody may sit in front of it.
    bool isAttended() const { return Toolkit::hasDisplay(); }

    Toolkit toolkit;
    QtDispatch dispatch;
    UnixSocketConnector connector;
    NotificationCenter notificationCenter;
    SyslogSystemLog systemLog;
    LinuxFileManager fileManager;
    QtApplication application{notificationCenter};
    ClickWatch clicks;
    QtStatusBar statusBar{application.mainMenu(), clicks};
    QtPanels panels{clicks};
    QtWorkspace workspace;
    QtPasteboard pasteboard;
    QtOpenPanel openPanel;
    LinuxAppleEventManager appleEventManager{dispatch.main()};
    QuitSignals quitSignals{[this] { application.terminate(); }};
};

} // namespace quoxelin
