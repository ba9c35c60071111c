#include "Platform/Linux/Services/SystemBusConversation.h"

namespace quoxelin {

namespace {

constexpr const char* busName = "org.freedesktop.DBus";

SystemBusConversation::Method busMethod(const char* name, const char* replyType) {
    return {busName, "/org/freedesktop/DBus", busName, name, replyType};
}

/// Without the name of the error in front of it, which says nothing to people.
std::string textOf(GError* error) {
    g_dbus_error_strip_remote_error(error);
    return error->message;
}

bool contains(GVariant* names, const std::string& wanted) {
    GVariantIter* iterator = nullptr;
    g_variant_get(names, "(as)", &iterator);
    bool found = false;
    const char* name = nullptr;
    while (g_variant_iter_loop(iterator, "&s", &name))
        found = found || wanted == name;
    g_variant_iter_free(iterator);
    return found;
}

} // namespace

void SystemBusConversation::open(Opened opened) {
    GError* error = nullptr;
    const std::unique_ptr<char, decltype(&g_free)> address(
        g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error), &g_free);
    if (const Owned<GError> owned{error})
        return opened(tl::unexpected(textOf(error)));
    g_dbus_connection_new_for_address(
        address.get(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<Opened> told(static_cast<Opened*>(data));
            GError* error = nullptr;
            Owned<GDBusConnection> connection(
                g_dbus_connection_new_for_address_finish(result, &error));
            if (const Owned<GError> owned{error})
                (*told)(tl::unexpected(textOf(error)));
            else
                (*told)(std::make_shared<SystemBusConversation>(std::move(connection)));
        },
        new Opened(std::move(opened)));
}

SystemBusConversation::SystemBusConversation(Owned<GDBusConnection> connection)
    : connection(std::move(connection)) {}

SystemBusConversation::~SystemBusConversation() {
    if (subscription != 0)
        g_dbus_connection_signal_unsubscribe(connection.get(), subscription);
    if (closedHandler != 0)
        g_signal_handler_disconnect(connection.get(), closedHandler);
    g_dbus_connection_close(connection.get(), nullptr, nullptr, nullptr);
}

void SystemBusConversation::call(const Method& method, GVariant* parameters, Reply replied) {
    struct Call {
        std::weak_ptr<SystemBusConversation> conversation;
        Reply replied;
    };
    g_dbus_connection_call(
        connection.get(), method.service, method.path, method.interface, method.name, parameters,
        G_VARIANT_TYPE(method.replyType), G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<Call> call(static_cast<Call*>(data));
            GError* error = nullptr;
            Owned<GVariant> reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
            const Owned<GError> owned{error};
            const auto conversation = call->conversation.lock();
            if (conversation == nullptr)
                return;
            if (error != nullptr)
                call->replied(tl::unexpected(textOf(error)));
            else
                call->replied(std::move(reply));
        },
        new Call{weak_from_this(), std::move(replied)});
}

void SystemBusConversation::findService(const std::string& service,
                                        std::function<void(bool isThere)> found) {
    call(busMethod("ListNames", "(as)"), nullptr,
         [this, service, found = std::move(found)](const auto& running) {
             if (running && contains(running->get(), service))
                 return found(true);
             call(busMethod("ListActivatableNames", "(as)"), nullptr,
                  [service, found](const auto& activatable) {
                      found(activatable && contains(activatable->get(), service));
                  });
         });
}

void SystemBusConversation::followService(const std::string& service, std::function<void()> ended) {
    serviceEnded = std::move(ended);
    subscription = g_dbus_connection_signal_subscribe(
        connection.get(), busName, busName, "NameOwnerChanged", "/org/freedesktop/DBus",
        service.c_str(), G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*,
           GVariant* parameters, gpointer data) {
            const char* newOwner = nullptr;
            g_variant_get(parameters, "(&s&s&s)", nullptr, nullptr, &newOwner);
            if (*newOwner != '\0')
                return;
            // The one who is told may let go of the conversation.
            const auto told = static_cast<SystemBusConversation*>(data)->serviceEnded;
            told();
        },
        this, nullptr);
}

void SystemBusConversation::followBus(std::function<void()> lost) {
    busLost = std::move(lost);
    closedHandler = g_signal_connect_swapped(connection.get(), "closed",
                                             G_CALLBACK(+[](SystemBusConversation* self) {
                                                 const auto told = self->busLost;
                                                 told();
                                             }),
                                             this);
}

std::string SystemBusConversation::name() const {
    return g_dbus_connection_get_unique_name(connection.get());
}

} // namespace quoxelin
