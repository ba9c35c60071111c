#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <functional>

namespace quoxelin {

/// Sends a call and goes on. `answered` receives the reply or the error, on the context's thread,
/// unless the context has gone by then. `timeout` is in milliseconds; -1 stands for the bus's own,
/// 25 seconds.
void callAsync(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
               std::function<void(const QDBusMessage& reply)> answered, int timeout = -1);

/// A text for people of an error's reply.
std::string errorText(const QDBusMessage& reply);

} // namespace quoxelin
