#include "Platform/Linux/Services/ServicePresence.h"

#include "Platform/Linux/Services/BusCall.h"

#include <utility>

namespace quoxelin {

namespace {

const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

QDBusMessage busCall(const QString& method) {
    return QDBusMessage::createMethodCall(busName, busPath, busName, method);
}

bool isYes(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool();
}

bool listHas(const QDBusMessage& reply, const QString& name) {
    return reply.type() == QDBusMessage::ReplyMessage &&
           reply.arguments().value(0).toStringList().contains(name);
}

} // namespace

ServicePresence::ServicePresence(MessageBus& bus, QString service, Counts counts,
                                 std::function<void()> changed)
    : bus(bus), service(std::move(service)), counts(counts), changed(std::move(changed)) {
    watcher.addWatchedService(this->service);
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { ask(); });
    busObservation = bus.observe([this] { follow(); });
    QMetaObject::invokeMethod(
        this, [this] { follow(); }, Qt::QueuedConnection);
}

void ServicePresence::whenKnown(std::function<void(bool)> completion) {
    if (present)
        completion(*present);
    else
        waiting.push_back(std::move(completion));
}

void ServicePresence::follow() {
    if (bus.isConnected()) {
        watcher.setConnection(bus.connection());
        auto connection = bus.connection();
        connection.connect(busName, busPath, busName, QStringLiteral("ActivatableServicesChanged"),
                           this, SLOT(ask()));
    }
    ask();
}

void ServicePresence::ask() {
    const auto asked = ++question;
    if (!bus.isConnected()) {
        know(false);
        return;
    }
    auto running = busCall(QStringLiteral("NameHasOwner"));
    running << service;
    callAsync(bus.connection(), running, *this, [this, asked](const QDBusMessage& owned) {
        if (asked != question)
            return;
        if (isYes(owned) || counts == Counts::running) {
            know(isYes(owned));
            return;
        }
        const auto activatable = busCall(QStringLiteral("ListActivatableNames"));
        callAsync(bus.connection(), activatable, *this, [this, asked](const QDBusMessage& names) {
            if (asked == question)
                know(listHas(names, service));
        });
    });
}

void ServicePresence::know(bool value) {
    if (present == value)
        return;
    present = value;
    for (const auto& completion : std::exchange(waiting, {}))
        completion(value);
    if (changed)
        changed();
}

} // namespace quoxelin
