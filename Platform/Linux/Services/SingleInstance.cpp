#include "Platform/Linux/Services/SingleInstance.h"

#include "Platform/Linux/Services/BusCall.h"

namespace quoxelin {

namespace {

const QString applicationName = QStringLiteral("com.quoxelin.desktop");
const QString applicationPath = QStringLiteral("/com/quoxelin/desktop");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

/// What the desktop told this process about the start, which belongs to whoever comes to the front.
QVariantMap platformData() {
    QVariantMap data;
    for (const auto& [variable, key] : {std::pair("DESKTOP_STARTUP_ID", "desktop-startup-id"),
                                        std::pair("XDG_ACTIVATION_TOKEN", "activation-token")})
        if (const auto value = qEnvironmentVariable(variable); !value.isEmpty())
            data[key] = value;
    return data;
}

/// Whoever has the name keeps it, and nobody waits for it.
QDBusMessage requestForName() {
    constexpr uint doNotQueue = 4;
    const QString busName = QStringLiteral("org.freedesktop.DBus");
    auto call = QDBusMessage::createMethodCall(busName, QStringLiteral("/org/freedesktop/DBus"),
                                               busName, QStringLiteral("RequestName"));
    call << applicationName << doNotQueue;
    return call;
}

bool isTaken(const QDBusMessage& reply) {
    constexpr uint primaryOwner = 1;
    constexpr uint alreadyOwner = 4;
    if (reply.type() != QDBusMessage::ReplyMessage)
        return false;
    const auto outcome = reply.arguments().value(0).toUInt();
    return outcome != primaryOwner && outcome != alreadyOwner;
}

QDBusMessage request(const std::optional<std::string>& url) {
    auto call =
        QDBusMessage::createMethodCall(applicationName, applicationPath, applicationInterface,
                                       url ? QStringLiteral("Open") : QStringLiteral("Activate"));
    call.setAutoStartService(false);
    if (url)
        call << QStringList{QString::fromStdString(*url)};
    call << platformData();
    return call;
}

} // namespace

SingleInstance::SingleInstance(MessageBus& bus, Requests requests)
    : bus(bus), requests(std::move(requests)) {
    busObservation = bus.observe([this] {
        if (claimed && this->bus.isConnected())
            ownLater();
    });
}

/// The object comes before the name, so that whoever sees the name finds it.
ApplicationObject& SingleInstance::offer() {
    for (auto* former : children())
        former->deleteLater();
    auto* const object = new ApplicationObject(requests, this);
    auto connection = bus.connection();
    connection.registerObject(applicationPath, object, QDBusConnection::ExportAllSlots);
    return *object;
}

void SingleInstance::withdraw(ApplicationObject& object) {
    auto connection = bus.connection();
    connection.unregisterObject(applicationPath);
    object.deleteLater();
}

/// False when somebody else has the name. A bus that does not say so may still give it.
bool SingleInstance::own(std::chrono::milliseconds patience) {
    auto& object = offer();
    const auto reply =
        bus.connection().call(requestForName(), QDBus::Block, static_cast<int>(patience.count()));
    if (!isTaken(reply))
        return true;
    withdraw(object);
    return false;
}

void SingleInstance::ownLater() {
    auto& object = offer();
    callAsync(bus.connection(), requestForName(), object,
              [this, &object](const QDBusMessage& reply) {
                  if (isTaken(reply))
                      withdraw(object);
              });
}

Result<SingleInstance::Role, std::string>
SingleInstance::claim(const std::optional<std::string>& url, std::chrono::milliseconds patience) {
    claimed = true;
    // The second attempt is for a first instance that has just left.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!bus.isConnected() || own(patience))
            return Role::first;
        const auto reply =
            bus.connection().call(request(url), QDBus::Block, static_cast<int>(patience.count()));
        if (reply.type() == QDBusMessage::ReplyMessage)
            return Role::follower;
        if (reply.errorName() != "org.freedesktop.DBus.Error.ServiceUnknown" &&
            reply.errorName() != "org.freedesktop.DBus.Error.NameHasNoOwner")
            return tl::unexpected("the running application does not answer: " + errorText(reply));
    }
    return Role::first;
}

} // namespace quoxelin
