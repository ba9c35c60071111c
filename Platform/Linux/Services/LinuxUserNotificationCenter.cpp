#include "Platform/Linux/Services/LinuxUserNotificationCenter.h"

#include "Platform/Linux/Services/BusCall.h"

#include <QGuiApplication>
#include <QPointer>

namespace quoxelin {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage serverCall(const QString& method) {
    return QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"),
                                          service, method);
}

/// Work for the main thread, on a later turn of its loop.
template <typename Work>
void onMainThread(QObject* object, Work work) {
    QMetaObject::invokeMethod(object, std::move(work), Qt::QueuedConnection);
}

/// The server plays a sound of its own choice unless it is told otherwise.
QVariantMap hints(bool sound) {
    QVariantMap hints{{QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()}};
    if (sound)
        hints[QStringLiteral("sound-name")] = QStringLiteral("message-new-instant");
    else
        hints[QStringLiteral("suppress-sound")] = true;
    return hints;
}

} // namespace

LinuxUserNotificationCenter::LinuxUserNotificationCenter(MessageBus& bus)
    : bus(bus), server(bus, service, ServicePresence::Counts::runningOrActivatable, [] {}) {}

void LinuxUserNotificationCenter::setDelegate(
    std::weak_ptr<UNUserNotificationCenterDelegate> newDelegate) {
    const std::lock_guard lock(mutex);
    delegate = std::move(newDelegate);
}

void LinuxUserNotificationCenter::getNotificationSettings(
    std::function<void(UNNotificationSettings)> completion) {
    onMainThread(this, [this, completion = std::move(completion)]() mutable {
        server.whenKnown([completion = std::move(completion)](bool isPresent) {
            completion({static_cast<int>(isPresent ? UNAuthorizationStatus::authorized
                                                   : UNAuthorizationStatus::denied)});
        });
    });
}

/// Nobody is asked: whoever has a notification server decides there what it shows.
void LinuxUserNotificationCenter::requestAuthorization(
    unsigned, std::function<void(bool, std::optional<Error>)> completion) {
    onMainThread(this, [this, completion = std::move(completion)]() mutable {
        server.whenKnown([completion = std::move(completion)](bool isPresent) {
            completion(isPresent, std::nullopt);
        });
    });
}

void LinuxUserNotificationCenter::add(const UNNotificationRequest& request) {
    onMainThread(this, [this, request] {
        server.whenKnown([this, request](bool isPresent) {
            if (isPresent)
                present(request);
        });
    });
}

void LinuxUserNotificationCenter::present(const UNNotificationRequest& request) {
    std::unique_lock lock(mutex);
    const auto asked = delegate.lock();
    lock.unlock();
    if (!asked)
        return;
    asked->willPresent(request, [weak = QPointer(this), request](unsigned options) {
        const bool sound =
            request.defaultSound && (options & UNNotificationPresentationOptionSound) != 0;
        if (weak && (options & UNNotificationPresentationOptionBanner) != 0)
            onMainThread(weak, [weak, request, sound] { weak->deliver(request, sound); });
    });
}

/// Some servers take the body for markup and some do not; each says so.
void LinuxUserNotificationCenter::deliver(const UNNotificationRequest& request, bool sound) {
    callAsync(bus.connection(), serverCall(QStringLiteral("GetCapabilities")), *this,
              [this, request, sound](const QDBusMessage& reply) {
                  if (reply.type() == QDBusMessage::ReplyMessage)
                      notify(request, sound,
                             reply.arguments().value(0).toStringList().contains("body-markup"));
              });
}

void LinuxUserNotificationCenter::notify(const UNNotificationRequest& request, bool sound,
                                         bool bodyIsMarkup) {
    constexpr uint replacesNone = 0;
    constexpr int serversOwnTimeout = -1;
    const auto body = QString::fromStdString(request.body);
    auto call = serverCall(QStringLiteral("Notify"));
    call << QGuiApplication::applicationDisplayName() << replacesNone
         << QGuiApplication::desktopFileName() << QString::fromStdString(request.title)
         << (bodyIsMarkup ? body.toHtmlEscaped() : body) << QStringList() << hints(sound)
         << serversOwnTimeout;
    bus.connection().send(call);
}

} // namespace quoxelin
