#include "Platform/Linux/Services/DBusNotifications.h"

#include <QGuiApplication>
#include <QPointer>
#include <algorithm>

namespace quoxelin {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";

BusMethod serverMethod(const char* name) {
    return {service, "/org/freedesktop/Notifications", service, name};
}

/// Runs work on the main thread, on a later turn of its loop.
template <typename Work>
void onMainThread(QObject* object, Work work) {
    QMetaObject::invokeMethod(object, std::move(work), Qt::QueuedConnection);
}

} // namespace

DBusNotifications::DBusNotifications(Bus& bus)
    : bus(bus), server(bus, service, ServicePresence::Counts::runningOrActivatable, [] {}) {}

void DBusNotifications::setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> newDelegate) {
    const std::lock_guard lock(mutex);
    delegate = std::move(newDelegate);
}

void DBusNotifications::getNotificationSettings(
    std::function<void(UNNotificationSettings)> completion) {
    onMainThread(this, [this, completion = std::move(completion)]() mutable {
        server.whenKnown([completion = std::move(completion)](bool isPresent) {
            completion({static_cast<int>(isPresent ? UNAuthorizationStatus::authorized
                                                   : UNAuthorizationStatus::denied)});
        });
    });
}

/// Does not ask the user, who chooses in the settings of the notification server.
void DBusNotifications::requestAuthorization(
    unsigned, std::function<void(bool, std::optional<Error>)> completion) {
    onMainThread(this, [this, completion = std::move(completion)]() mutable {
        server.whenKnown([completion = std::move(completion)](bool isPresent) {
            completion(isPresent, std::nullopt);
        });
    });
}

void DBusNotifications::add(const UNNotificationRequest& request) {
    onMainThread(this, [this, request] {
        server.whenKnown([this, request](bool isPresent) {
            if (isPresent)
                present(request);
        });
    });
}

void DBusNotifications::present(const UNNotificationRequest& request) {
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

/// Some servers interpret the body as markup and say so in their capabilities.
void DBusNotifications::deliver(const UNNotificationRequest& request, bool sound) {
    const auto number = ++questionCount;
    questions[number] =
        bus.call(serverMethod("GetCapabilities"), nullptr,
                 [this, number, request, sound](const auto& reply) {
                     questions.erase(number);
                     if (!reply)
                         return;
                     const auto known = readTexts(*reply);
                     notify(request, sound,
                            std::find(known.begin(), known.end(), "body-markup") != known.end());
                 });
}

/// Without a hint the server would choose a sound.
void DBusNotifications::notify(const UNNotificationRequest& request, bool sound,
                               bool bodyIsMarkup) {
    const auto name = QGuiApplication::applicationDisplayName().toUtf8();
    const auto entry = QGuiApplication::desktopFileName().toUtf8();
    const auto body = QString::fromStdString(request.body);
    const auto write = [&](sd_bus_message* message) {
        constexpr std::uint32_t replacesNone = 0;
        constexpr int noActions = 0, hints = 2, serversOwnTimeout = -1;
        sd_bus_message_append(message, "susssas", name.constData(), replacesNone, entry.constData(),
                              busText(request.title).constData(),
                              (bodyIsMarkup ? body.toHtmlEscaped() : body).toUtf8().constData(),
                              noActions);
        if (sound)
            sd_bus_message_append(message, "a{sv}", hints, "desktop-entry", "s", entry.constData(),
                                  "sound-name", "s", "message-new-instant");
        else
            sd_bus_message_append(message, "a{sv}", hints, "desktop-entry", "s", entry.constData(),
                                  "suppress-sound", "b", 1);
        return sd_bus_message_append(message, "i", serversOwnTimeout);
    };
    bus.call(serverMethod("Notify"), write, nullptr).cancel();
}

} // namespace quoxelin
