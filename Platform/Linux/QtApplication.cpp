#include "Platform/Linux/QtApplication.h"

#include <QApplication>

namespace quoxelin {

QtApplication::QtApplication(NotificationCenter& notificationCenter)
    : notificationCenter(notificationCenter) {
    // Closing the panel must not quit the application.
    QApplication::setQuitOnLastWindowClosed(false);
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    this->notificationCenter.post(NSApplicationDidBecomeActiveNotification);
            });
}

int QtApplication::run(NSApplicationDelegate& delegate) {
    // Runs inside the loop, so that the delegate may end it.
    QMetaObject::invokeMethod(
        this, [&delegate] { delegate.applicationDidFinishLaunching(); }, Qt::QueuedConnection);
    const int code = QApplication::exec();
    delegate.applicationWillTerminate();
    return code;
}

void QtApplication::terminate() {
    QMetaObject::invokeMethod(
        this, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
}

void QtApplication::activateIgnoringOtherApps() {
    for (auto* window : QApplication::topLevelWidgets())
        if (window->isVisible())
            window->activateWindow();
}

void QtApplication::setMainMenu(const std::vector<NSMenuItem>& submenu) {
    menu.setItems(submenu);
}

} // namespace quoxelin
