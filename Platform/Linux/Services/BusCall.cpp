#include "Platform/Linux/Services/BusCall.h"

#include <QDBusPendingCallWatcher>

namespace quoxelin {

void callAsync(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
               std::function<void(const QDBusMessage&)> answered, int timeout) {
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, timeout), &context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         answered(finished->reply());
                     });
}

std::string errorText(const QDBusMessage& reply) {
    const auto& text = reply.errorMessage().isEmpty() ? reply.errorName() : reply.errorMessage();
    return text.toStdString();
}

} // namespace quoxelin
