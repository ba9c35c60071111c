#pragma once

#include <gio/gio.h>
#include <memory>
#include <string>

namespace quoxelin::helper {

/// What GLib hands over, owned.
struct Unref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
    void operator()(GDBusNodeInfo* info) const { g_dbus_node_info_unref(info); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/// The answer to a call that was begun with `result`'s connection; null, and the reason in `why`,
/// when it failed.
inline Owned<GVariant> finishCall(GObject* connection, GAsyncResult* result, std::string& why) {
    GError* error = nullptr;
    Owned<GVariant> answer(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &error));
    if (const Owned<GError> owned{error})
        why = owned->message;
    return answer;
}

} // namespace quoxelin::helper
