#include "Platform/Linux/Desktop.h"

#include <QIcon>
#include <cstdio>

/// A library's resources have to be asked for, by a function outside of any namespace.
static void loadAssets() {
    Q_INIT_RESOURCE(assets);
}

namespace quoxelin {

namespace {

/// Windows that go nowhere cannot be raised either, which is not worth a word.
void writeMessage(QtMsgType, const QMessageLogContext&, const QString& message) {
    if (!message.startsWith("This plugin does not support"))
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

Toolkit::Toolkit(const std::string& name)
    : program(name), arguments{program.data(), nullptr}, application(argumentCount, arguments) {
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

Desktop::Desktop(const LaunchOptions& options) : toolkit(options.program) {
    if (options.callbackURL)
        appleEventManager.send(options.callbackURL);
}

} // namespace quoxelin
