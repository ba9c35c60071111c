#include "Platform/Linux/Services/BusKnock.h"

#include "Platform/Linux/Services/GLib.h"

#include <utility>

namespace quoxelin {

namespace {

GCancellable* glib(const std::shared_ptr<void>& cancellable) {
    return static_cast<GCancellable*>(cancellable.get());
}

} // namespace

BusKnock::BusKnock(std::string address, std::function<void()> answered)
    : cancellable(g_cancellable_new(), GObjectUnref()) {
    thread = std::thread([this, address = std::move(address), answered = std::move(answered)] {
        const auto outcome = knock(address);
        {
            const std::lock_guard lock(mutex);
            phase = outcome;
        }
        changed.notify_all();
        if (outcome == Phase::answered)
            answered();
    });
}

BusKnock::~BusKnock() {
    g_cancellable_cancel(glib(cancellable));
    thread.join();
}

/// Does not ask the bus for a name, for which there is no way to give up.
BusKnock::Phase BusKnock::knock(const std::string& address) const {
    const GPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
        address.c_str(), G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr, glib(cancellable),
        nullptr));
    if (connection == nullptr)
        return Phase::failed;
    g_dbus_connection_close_sync(connection.get(), glib(cancellable), nullptr);
    return Phase::answered;
}

bool BusKnock::isAnswered() const {
    return isAnsweredWithin(std::chrono::milliseconds(0));
}

bool BusKnock::isAnsweredWithin(std::chrono::milliseconds longest) const {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, longest, [this] { return phase != Phase::waiting; });
    return phase == Phase::answered;
}

} // namespace quoxelin
