#pragma once

#include "Base/NotificationCenter.h"
#include "Base/UnixSocket.h"
#include "Platform/Linux/CallbackUrls.h"
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/QtApplication.h"
#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/QtOpenPanel.h"
#include "Platform/Linux/QtPanels.h"
#include "Platform/Linux/QtPasteboard.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Platform/Linux/QtWorkspace.h"
#include "Platform/Linux/QuitSignals.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/SyslogSystemLog.h"
#include "Platform/Linux/XdgFileManager.h"
#include "Platform/PlatformFactory.h"

#include <QApplication>
#include <optional>

namespace quoxelin {

/// Hides a session bus that does not answer at once from the toolkit, which would block on it. The
/// toolkit then runs without the bus to the end; programs that we start later see it again as soon
/// as it answers.
class SessionBusGuard {
  public:
    /// Waits a moment for the bus.
    explicit SessionBusGuard(Bus& bus);

  private:
    const std::optional<QByteArray> address;
    Subscription observation;
};

/// The toolkit's application object, with the command line that it keeps referring to.
class Toolkit {
  public:
    /// Has the event loop serve the session's bus, which lives longer.
    Toolkit(const std::string& program, Bus& sessionBus);

    /// False where windows go nowhere.
    static bool hasDisplay();

  private:
    SessionBusGuard guard;
    std::string program;
    char* arguments[2];
    int argumentCount = 1;
    QApplication application;
};

/// What is real on every Linux desktop, whatever services lie under the application: queues, time,
/// sockets, files, logs, windows.
struct Desktop {
    explicit Desktop(const LaunchOptions& options);

    /// Whether a user may sit in front of it.
    bool isAttended() const { return Toolkit::hasDisplay(); }

    Bus sessionBus{Bus::sessionAddress()};
    Toolkit toolkit;
    QtDispatch dispatch;
    UnixSocketConnector connector;
    NotificationCenter notificationCenter;
    SyslogSystemLog systemLog;
    XdgFileManager fileManager;
    QtApplication application{notificationCenter};
    ClickWatch clicks;
    QtStatusBar statusBar{application.mainMenu(), clicks, sessionBus};
    QtPanels panels{clicks};
    QtWorkspace workspace;
    QtPasteboard pasteboard;
    QtOpenPanel openPanel;
    CallbackUrls appleEventManager{dispatch.main()};
    QuitSignals quitSignals{[this] { application.terminate(); }};
};

} // namespace quoxelin
