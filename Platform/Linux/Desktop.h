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
#include "Platform/Linux/Wayland/LayeredToolTips.h"
#include "Platform/Linux/XdgFileManager.h"
#include "Platform/PlatformFactory.h"

#include <QApplication>
#include <optional>

namespace quoxelin {

/// Hides a session bus that does not answer at once from Qt, which would block on it. Qt then runs
/// without the bus until the process ends; programs that we start see the bus again once it
/// answers.
class SessionBusGuard {
  public:
    /// Waits briefly for the bus.
    explicit SessionBusGuard(Bus& bus);

  private:
    const std::optional<QByteArray> address;
    Subscription observation;
};

/// Qt's application object and the command line that it refers to.
class Toolkit {
  public:
    /// Lets the event loop serve the session bus, which must outlive this object.
    Toolkit(const std::string& program, Bus& sessionBus);

    /// False if windows are only drawn offscreen.
    static bool hasDisplay();

  private:
    SessionBusGuard guard;
    bool choosesWindowSystem;
    std::string program;
    char* arguments[2];
    int argumentCount = 1;
    QApplication application;
};

/// What is real on every Linux desktop, with real or simulated services: queues, time, sockets,
/// files, logs, windows.
struct Desktop {
    explicit Desktop(const LaunchOptions& options);

    /// Whether there may be a user at the screen.
    bool isAttended() const { return Toolkit::hasDisplay(); }

    /// Shows the panel, or brings what is open to the front.
    void comeToTheFront();

    Bus sessionBus{Bus::sessionAddress()};
    Toolkit toolkit;
    QtDispatch dispatch;
    UnixSocketConnector connector;
    NotificationCenter notificationCenter;
    SyslogSystemLog systemLog;
    XdgFileManager fileManager;
    QtApplication application{notificationCenter};
    ClickWatch clicks;
    LayeredToolTips toolTips;
    QtStatusBar statusBar{application.mainMenu(), clicks, sessionBus};
    QtPanels panels{clicks};
    QtWorkspace workspace;
    QtPasteboard pasteboard;
    QtOpenPanel openPanel;
    CallbackUrls appleEventManager{dispatch.main()};
    QuitSignals quitSignals{[this] { application.terminate(); }};
};

} // namespace quoxelin
