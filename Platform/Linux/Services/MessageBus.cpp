#include "Platform/Linux/Services/MessageBus.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace quoxelin {

namespace {

/// A bus that is alive answers in milliseconds.
constexpr std::chrono::milliseconds firstWait{1000};

QString freshName() {
    static int count = 0;
    return QStringLiteral("quoxelin-%1").arg(++count);
}

/// The file of the first address that names one; empty where none does.
QString socketOf(const QString& addresses) {
    const QString prefix = QStringLiteral("unix:");
    for (const auto& one : addresses.split(';')) {
        if (!one.startsWith(prefix))
            continue;
        for (const auto& member : one.mid(prefix.size()).split(','))
            if (member.startsWith("path="))
                return QUrl::fromPercentEncoding(member.mid(5).toUtf8());
    }
    return {};
}

} // namespace

QString MessageBus::sessionAddress() {
    auto named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    const auto directory = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return directory.isEmpty() ? QString() : "unix:path=" + directory + "/bus";
}

QString MessageBus::systemAddress() {
    const auto named = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return named.isEmpty() ? QStringLiteral("unix:path=/run/dbus/system_bus_socket") : named;
}

MessageBus::MessageBus(QString address)
    : address(std::move(address)), name(freshName()), socket(socketOf(this->address)),
      current(name) {
    connect(&watcher, &QFileSystemWatcher::directoryChanged, this, [this] { seek(); });
    seek();
    if (knock && knock->isAnsweredWithin(firstWait))
        connectIfAnswered();
}

MessageBus::~MessageBus() {
    knock.reset();
    QDBusConnection::disconnectFromBus(name);
}

void MessageBus::seek() {
    if (connected)
        return;
    // Before the attempt, so that a socket that appears in between is not missed. One that does
    // not listen yet tells once more when its bus opens it to everybody.
    watchForSocket();
    knockAtSocket();
}

/// Anew, as the former may have gone to a socket that is there no longer.
void MessageBus::knockAtSocket() {
    knock.reset();
    if (address.isEmpty() || (!socket.isEmpty() && !QFileInfo::exists(socket)))
        return;
    knock = std::make_unique<BusKnock>(address.toStdString(), [this] {
        QMetaObject::invokeMethod(
            this, [this] { connectIfAnswered(); }, Qt::QueuedConnection);
    });
}

void MessageBus::connectIfAnswered() {
    if (!knock || !knock->isAnswered())
        return;
    knock.reset();
    if (!connectNow())
        return;
    if (!watcher.directories().isEmpty())
        watcher.removePaths(watcher.directories());
    connected = true;
    observers.notify();
}

/// Watches the nearest directory that there is on the way to the socket.
void MessageBus::watchForSocket() {
    if (socket.isEmpty())
        return;
    auto directory = QFileInfo(socket).absolutePath();
    while (!QFileInfo::exists(directory) && directory != "/")
        directory = QFileInfo(directory).absolutePath();
    const auto watched = watcher.directories();
    if (watched == QStringList(directory))
        return;
    if (!watched.isEmpty())
        watcher.removePaths(watched);
    watcher.addPath(directory);
}

bool MessageBus::connectNow() {
    QDBusConnection::disconnectFromBus(name);
    current = QDBusConnection::connectToBus(address, name);
    current.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                    QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                    this, SLOT(lost()));
    return current.isConnected();
}

void MessageBus::lost() {
    if (!connected)
        return;
    connected = false;
    observers.notify();
    seek();
}

} // namespace quoxelin
