#include "Platform/Linux/Services/NetworkManagerClient.h"

#include "Platform/Linux/AfterStart.h"
#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/LibNM.h"

#include <QTimer>

namespace quoxelin {

namespace {

constexpr const char* notRunning = "NetworkManager is not running";
constexpr const char* ownerKey = "quoxelin-owner";
constexpr const char* toldKey = "quoxelin-told";

/// Stores the connection's current content with it, to detect later changes.
void rememberContent(NMRemoteConnection* connection) {
    g_object_set_data_full(G_OBJECT(connection), toldKey,
                           nm_simple_connection_new_clone(NM_CONNECTION(connection)),
                           g_object_unref);
}

/// "service-start-failed"
std::string nameOf(guint reason) {
    auto* const reasons =
        static_cast<GEnumClass*>(g_type_class_ref(NM_TYPE_ACTIVE_CONNECTION_STATE_REASON));
    const auto* const value = g_enum_get_value(reasons, static_cast<gint>(reason));
    std::string name = value == nullptr ? std::to_string(reason) : value->value_nick;
    g_type_class_unref(reasons);
    return name;
}

} // namespace

/// One bus connection and everything that uses it. After its end no answer or signal arrives.
struct NetworkManagerClient::Link {
    explicit Link(NetworkManagerClient* owner)
        : anchor(G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr))), cancellable(g_cancellable_new()) {
        g_object_set_data(anchor.get(), ownerKey, owner);
    }
    ~Link() { g_cancellable_cancel(cancellable.get()); }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    GPtr<GDBusConnection> bus;
    GPtr<NMClient> client;
    /// A client is being made, perhaps to replace this one.
    bool isMaking = false;
    /// The client shows everything that NetworkManager has.
    bool isComplete = false;
    /// Signal handlers live as long as this object.
    GPtr<GObject> anchor;
    GPtr<GCancellable> cancellable;
    Lifetime lifetime;
};

NetworkManagerClient::NetworkManagerClient(std::function<void(const Changes&)> changed)
    : changed(std::move(changed)), reason(notRunning) {}

NetworkManagerClient::~NetworkManagerClient() {
    if (source != 0)
        g_source_remove(source);
}

// Connecting

void NetworkManagerClient::connect(const std::string& busAddress) {
    disconnect();
    address = busAddress;
    link = std::make_unique<Link>(this);
    QTimer::singleShot(afterStart, link->lifetime.weakly([this] {
        if (const auto problem = loadLibNM(); !problem.empty())
            failed(problem);
        else
            makeBus();
    }));
}

void NetworkManagerClient::makeBus() {
    // A separate connection, because the process would exit when GLib's shared one closes.
    g_dbus_connection_new_for_address(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, link->cancellable.get(), answered,
        passing(link->lifetime.weakly([this](GObject*, GAsyncResult* result) {
            GFailure failure;
            link->bus.reset(g_dbus_connection_new_for_address_finish(result, failure.out()));
            if (!link->bus)
                return failed(failure.text());
            follow(link->bus.get(), "closed", G_CALLBACK(busClosed));
            makeClient();
        })));
}

void NetworkManagerClient::disconnect() {
    address.clear();
    failed(notRunning);
}

void NetworkManagerClient::makeClient() {
    if (std::exchange(link->isMaking, true))
        return;
    g_async_initable_new_async(
        NM_TYPE_CLIENT, G_PRIORITY_DEFAULT, link->cancellable.get(), answered,
        passing(link->lifetime.weakly([this](GObject* initable, GAsyncResult* result) {
            GFailure failure;
            auto* client =
                g_async_initable_new_finish(G_ASYNC_INITABLE(initable), result, failure.out());
            if (client == nullptr)
                return failed(failure.text());
            link->client.reset(NM_CLIENT(client));
            link->isMaking = false;
            link->isComplete = hasStarted();
            reason = notRunning;
            follow();
            update();
        })),
        NM_CLIENT_DBUS_CONNECTION, link->bus.get(), NM_CLIENT_INSTANCE_FLAGS,
        static_cast<guint>(NM_CLIENT_INSTANCE_FLAGS_NO_AUTO_FETCH_PERMISSIONS), nullptr);
}

void NetworkManagerClient::failed(const std::string& text) {
    reason = text;
    link.reset();
    update();
}

NMClient* NetworkManagerClient::running() const {
    return link && link->isComplete ? link->client.get() : nullptr;
}

/// NetworkManager first appears on the bus, then has a version, and finally has read its
/// connections.
bool NetworkManagerClient::hasStarted() const {
    auto* client = link->client.get();
    return nm_client_get_nm_running(client) && nm_client_get_version(client) != nullptr &&
           !nm_client_get_startup(client);
}

void NetworkManagerClient::whenReady(std::function<void()> ready) {
    // If it failed for another reason than a missing bus, that may have been fixed by now.
    if (!link && !address.empty())
        connect(std::string(address));
    waiting.push_back(std::move(ready));
    update();
}

/// Call after any change that may affect presence.
void NetworkManagerClient::update() {
    const bool isPresent = running() != nullptr;
    if (wasPresent && *wasPresent != isPresent) {
        wasPresent = isPresent;
        tell({.configurations = isPresent, .tunnels = true, .presence = true, .reasons = {}});
    }
    const bool isAbsent = !link || (link->client && !nm_client_get_nm_running(link->client.get()));
    if (waiting.empty() || (!isPresent && !isAbsent))
        return;
    wasPresent = isPresent;
    for (const auto& ready : std::exchange(waiting, {}))
        ready();
}

void NetworkManagerClient::flush() const {
    if (link && link->bus)
        g_dbus_connection_flush_sync(link->bus.get(), nullptr, nullptr);
}

// Following changes

NetworkManagerClient& NetworkManagerClient::ownerOf(GObject* anchor) {
    return *static_cast<NetworkManagerClient*>(g_object_get_data(anchor, ownerKey));
}

/// The handler's first argument is the anchor; the signal's arguments follow.
void NetworkManagerClient::follow(void* object, const char* signal, void (*handler)()) {
    g_signal_connect_object(object, signal, handler, link->anchor.get(), G_CONNECT_SWAPPED);
}

void NetworkManagerClient::follow() {
    auto* client = link->client.get();
    forEach<NMRemoteConnection>(nm_client_get_connections(client),
                                [this](auto* connection) { followVPN(connection); });
    forEach<NMActiveConnection>(nm_client_get_active_connections(client),
                                [this](auto* active) { followVPN(active); });
    follow(client, "notify::" NM_CLIENT_NM_RUNNING, G_CALLBACK(presenceChanged));
    follow(client, "notify::" NM_CLIENT_VERSION, G_CALLBACK(presenceChanged));
    follow(client, "notify::" NM_CLIENT_STARTUP, G_CALLBACK(presenceChanged));
    follow(client, NM_CLIENT_CONNECTION_ADDED, G_CALLBACK(connectionAdded));
    follow(client, NM_CLIENT_CONNECTION_REMOVED, G_CALLBACK(connectionRemoved));
    follow(client, NM_CLIENT_ACTIVE_CONNECTION_ADDED, G_CALLBACK(activeConnectionAdded));
    follow(client, NM_CLIENT_ACTIVE_CONNECTION_REMOVED, G_CALLBACK(activeConnectionRemoved));
}

bool NetworkManagerClient::followVPN(NMRemoteConnection* connection) {
    if (!nm_connection_is_type(NM_CONNECTION(connection), NM_SETTING_VPN_SETTING_NAME))
        return false;
    rememberContent(connection);
    follow(connection, NM_CONNECTION_CHANGED, G_CALLBACK(connectionChanged));
    return true;
}

bool NetworkManagerClient::followVPN(NMActiveConnection* connection) {
    if (!nm_active_connection_get_vpn(connection))
        return false;
    follow(connection, "notify::" NM_ACTIVE_CONNECTION_STATE, G_CALLBACK(stateChanged));
    follow(connection, "state-changed", G_CALLBACK(tunnelEnded));
    return true;
}

void NetworkManagerClient::connectionAdded(GObject* anchor, NMRemoteConnection* connection) {
    if (ownerOf(anchor).followVPN(connection))
        ownerOf(anchor).configurationsChanged();
}

void NetworkManagerClient::connectionRemoved(GObject* anchor, NMRemoteConnection* connection) {
    if (nm_connection_is_type(NM_CONNECTION(connection), NM_SETTING_VPN_SETTING_NAME))
        ownerOf(anchor).configurationsChanged();
}

/// This signal also comes when a connection was only saved or used.
void NetworkManagerClient::connectionChanged(GObject* anchor, NMRemoteConnection* connection) {
    auto* told = g_object_get_data(G_OBJECT(connection), toldKey);
    if (nm_connection_compare(NM_CONNECTION(connection), NM_CONNECTION(told),
                              NM_SETTING_COMPARE_FLAG_IGNORE_TIMESTAMP))
        return;
    rememberContent(connection);
    ownerOf(anchor).configurationsChanged();
}

void NetworkManagerClient::configurationsChanged() {
    tell({.configurations = true, .tunnels = false, .presence = false, .reasons = {}});
}

void NetworkManagerClient::activeConnectionAdded(GObject* anchor, NMActiveConnection* connection) {
    if (ownerOf(anchor).followVPN(connection))
        stateChanged(anchor);
}

void NetworkManagerClient::activeConnectionRemoved(GObject* anchor,
                                                   NMActiveConnection* connection) {
    if (nm_active_connection_get_vpn(connection))
        stateChanged(anchor);
}

void NetworkManagerClient::stateChanged(GObject* anchor) {
    ownerOf(anchor).tunnelsChanged();
}

void NetworkManagerClient::tunnelEnded(GObject* anchor, guint state, guint reason,
                                       NMActiveConnection* tunnel) {
    const char* uuid = nm_active_connection_get_uuid(tunnel);
    if (state != NM_ACTIVE_CONNECTION_STATE_DEACTIVATED || uuid == nullptr ||
        reason == NM_ACTIVE_CONNECTION_STATE_REASON_NONE ||
        reason == NM_ACTIVE_CONNECTION_STATE_REASON_USER_DISCONNECTED)
        return;
    ownerOf(anchor).tell({.configurations = false,
                          .tunnels = true,
                          .presence = false,
                          .reasons = {{uuid, nameOf(reason)}}});
}

/// A client that sees NetworkManager start receives the connections one by one without knowing
/// which is the last. A client made afterward starts with all of them.
void NetworkManagerClient::presenceChanged(GObject* anchor) {
    auto& self = ownerOf(anchor);
    if (!self.hasStarted())
        self.link->isComplete = false;
    else if (!self.link->isComplete)
        self.makeClient();
    self.update();
}

void NetworkManagerClient::busClosed(GObject* anchor) {
    ownerOf(anchor).failed(notRunning);
}

void NetworkManagerClient::tunnelsChanged() {
    tell({.configurations = false, .tunnels = true, .presence = false, .reasons = {}});
}

void NetworkManagerClient::tell(const Changes& changes) {
    untold.configurations |= changes.configurations;
    untold.tunnels |= changes.tunnels;
    untold.presence |= changes.presence;
    untold.reasons.insert(changes.reasons.begin(), changes.reasons.end());
    if (source != 0)
        return;
    source = g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            auto& self = *static_cast<NetworkManagerClient*>(data);
            self.source = 0;
            auto due = std::exchange(self.untold, {});
            // When NetworkManager stops we lose sight of its connections; they have not been
            // deleted.
            due.configurations &= self.running() != nullptr;
            self.changed(due);
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

} // namespace quoxelin
