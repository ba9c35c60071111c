#include "Platform/Linux/QtApplication.h"

#include "Platform/Linux/FloatingWindow.h"

#include <QApplication>
#include <algorithm>

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

/// Once it is known whether a panel opens with it, from which no other window may take the
/// keyboard.
void QtApplication::activateIgnoringOtherApps() {
    QMetaObject::invokeMethod(
        this,
        [] {
            const auto windows = QApplication::topLevelWidgets();
            const auto isPanel = [](const QWidget* window) {
                return window->isVisible() &&
                       dynamic_cast<const FloatingWindow*>(window) != nullptr;
            };
            const bool hasPanel = std::any_of(windows.begin(), windows.end(), isPanel);
            for (auto* window : windows)
                if (hasPanel ? isPanel(window) : window->isVisible())
                    window->activateWindow();
        },
        Qt::QueuedConnection);
}

void QtApplication::setMainMenu(const std::vector<NSMenuItem>& submenu) {
    menu.setItems(submenu);
}

} // namespace quoxelin
