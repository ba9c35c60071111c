#include "Platform/Linux/Desktop.h"

#include "Platform/Linux/AccessibleElements.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QIcon>
#include <algorithm>
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

constexpr const char* windowSystemVariable = "QT_QPA_PLATFORM";

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Qt would end the process if DISPLAY names a server that does not answer.
bool hasX11() {
    if (!isSet("DISPLAY"))
        return false;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0;
}

/// For Qt. Only on a layer shell can a Wayland window be a panel; elsewhere the compositor's X
/// server is better, if it has one.
std::string windowSystem() {
    const auto isLayered =
        isSet("WAYLAND_DISPLAY") ? LayerShell::isOffered() : std::optional<bool>();
    if (isLayered == true) {
        LayerShell::prepare();
        // Its X server may start only when it is used.
        return isSet("DISPLAY") ? "wayland;xcb" : "wayland;offscreen";
    }
    if (hasX11())
        return "xcb";
    return isLayered ? "wayland;offscreen" : "offscreen";
}

/// Sets the variables that Qt reads when its application object is made.
const std::string& withEnvironment(const std::string& name) {
    if (!isSet(windowSystemVariable))
        ::setenv(windowSystemVariable, windowSystem().c_str(), 1);
    else if (std::string_view(std::getenv(windowSystemVariable)).starts_with("wayland") &&
             LayerShell::isOffered() == true)
        LayerShell::prepare();
    // GIO launches applications from GLib's event loop.
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
    : guard(sessionBus), choosesWindowSystem(!isSet(windowSystemVariable)),
      program(withEnvironment(name)), arguments{program.data(), nullptr},
      application(argumentCount, arguments) {
    // Other programs make their own choice.
    if (choosesWindowSystem)
        qunsetenv(windowSystemVariable);
    sessionBus.serve();
    loadAssets();
    describeElementsToAssistiveTechnology();
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
    application.setOpening([this] { comeToTheFront(); });
    if (options.callbackURL)
        appleEventManager.send(options.callbackURL);
}

void Desktop::comeToTheFront() {
    const auto windows = QApplication::topLevelWidgets();
    if (std::any_of(windows.begin(), windows.end(),
                    [](const QWidget* window) { return window->isVisible(); }))
        application.activateIgnoringOtherApps();
    else
        statusBar.click();
}

} // namespace quoxelin
