#include "Platform/Linux/TrayWatch.h"

#include "Platform/Linux/X11Desktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <utility>

namespace quoxelin {

namespace {
const QString itemWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
}

TrayWatch::TrayWatch(std::function<void()> appeared)
    : appeared(std::move(appeared)), watcher(itemWatcher, QDBusConnection::sessionBus(),
                                             QDBusServiceWatcher::WatchForRegistration) {
    connect(&watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { check(); });
    if (auto* x11 = X11Desktop::instance())
        x11->setTrayAppeared([this] { check(); });
    QMetaObject::invokeMethod(
        this, [this] { check(); }, Qt::QueuedConnection);
}

TrayWatch::~TrayWatch() {
    if (auto* x11 = X11Desktop::instance(); x11 != nullptr && appeared)
        x11->setTrayAppeared(nullptr);
}

bool TrayWatch::hasTray() {
    const auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface()->isServiceRegistered(itemWatcher))
        return true;
    const auto* x11 = X11Desktop::instance();
    return x11 != nullptr && x11->hasTray();
}

void TrayWatch::check() {
    if (!appeared || !hasTray())
        return;
    if (auto* x11 = X11Desktop::instance())
        x11->setTrayAppeared(nullptr);
    std::exchange(appeared, nullptr)();
}

} // namespace quoxelin
