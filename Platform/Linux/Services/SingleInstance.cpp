#include "Platform/Linux/Services/SingleInstance.h"

#include "Platform/Linux/Services/BusCall.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

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
            own();
    });
}

/// The object comes first, so that whoever sees the name finds it.
bool SingleInstance::own() {
    auto connection = bus.connection();
    for (auto* former : children())
        former->deleteLater();
    auto* const object = new ApplicationObject(requests, this);
    connection.registerObject(applicationPath, object, QDBusConnection::ExportAllSlots);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        connection.interface()->registerService(applicationName,
                                                QDBusConnectionInterface::DontQueueService,
                                                QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return true;
    connection.unregisterObject(applicationPath);
    delete object;
    return false;
}

Result<SingleInstance::Role, std::string>
SingleInstance::claim(const std::optional<std::string>& url, std::chrono::milliseconds patience) {
    claimed = true;
    // The second attempt is for a first instance that has just left.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!bus.isConnected() || own())
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
