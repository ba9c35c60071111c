#include "Platform/Linux/Desktop.h"

#include <QIcon>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

/// A library's resources must be loaded by a function outside any namespace.
static void loadAssets() {
    Q_INIT_RESOURCE(assets);
}

namespace quoxelin {

namespace {

/// The offscreen plugin cannot raise windows; drops its warning.
void writeMessage(QtMsgType, const QMessageLogContext&, const QString& message) {
    if (!message.startsWith("This plugin does not support"))
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Qt would end the process if DISPLAY names a server that does not answer.
bool canShowWindows() {
    if (isSet("WAYLAND_DISPLAY"))
        return true;
    if (!isSet("DISPLAY"))
        return false;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0;
}

/// Sets the variables that Qt reads when its application object is made.
const std::string& withEnvironment(const std::string& name) {
    if (!isSet("QT_QPA_PLATFORM") && !canShowWindows())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // NetworkManager's library needs GLib's event loop.
    ::unsetenv("QT_NO_GLIB");
    return name;
}

constexpr const char* sessionBusVariable = "DBUS_SESSION_BUS_ADDRESS";

std::optional<QByteArray> variable(const char* name) {
    return qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
}

} // namespace

SessionBusGuard::SessionBusGuard(Bus& bus) : address(variable(sessionBusVariable)) {
    bus.awaitConnection();
    if (bus.isConnected())
        return;
    qputenv(sessionBusVariable, "disabled:");
    observation = bus.observe([this] {
        if (address)
            qputenv(sessionBusVariable, *address);
        else
            qunsetenv(sessionBusVariable);
        observation.cancel();
    });
}

Toolkit::Toolkit(const std::string& name, Bus& sessionBus)
    : guard(sessionBus), program(withEnvironment(name)), arguments{program.data(), nullptr},
      application(argumentCount, arguments) {
    sessionBus.serve();
    loadAssets();
    if (!hasDisplay())
        qInstallMessageHandler(writeMessage);
    QApplication::setApplicationName("quoxelin-desktop");
    QApplication::setApplicationDisplayName("Quoxelin");
    QApplication::setApplicationVersion(QUOXELIN_VERSION);
    QApplication::setDesktopFileName("com.quoxelin.desktop");
    QApplication::setWindowIcon(QIcon(":/assets/application_icon.svg"));
}

bool Toolkit::hasDisplay() {
    const auto name = QGuiApplication::platformName();
    return name != "offscreen" && name != "minimal";
}

Desktop::Desktop(const LaunchOptions& options) : toolkit(options.program, sessionBus) {
    if (options.callbackURL)
        appleEventManager.send(options.callbackURL);
}

} // namespace quoxelin
