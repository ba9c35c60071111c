#include "Bus.h"

#include "Text.h"

namespace quoxelin::helper {

namespace {

/// Nobody is hurried: a person may be reading, and a slot is taken meanwhile.
constexpr int noTimeout = G_MAXINT;

using Answer = std::function<void(Owned<GVariant> answer, const std::string& why)>;

struct Call {
    const char* destination;
    const char* path;
    const char* interface;
    const char* method;
    const char* replyType;
};

void ask(GDBusConnection* bus, const Call& call, GVariant* parameters, Answer answer) {
    g_dbus_connection_call(
        bus, call.destination, call.path, call.interface, call.method, parameters,
        G_VARIANT_TYPE(call.replyType), G_DBUS_CALL_FLAGS_NONE, noTimeout, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<Answer> told(static_cast<Answer*>(data));
            std::string why;
            auto value = finishCall(source, result, why);
            (*told)(std::move(value), why);
        },
        new Answer(std::move(answer)));
}

/// The caller by its name on the bus, which the bus vouches for and never gives to another.
GVariant* authorizationRequest(const std::string& busName) {
    constexpr guint32 allowUserInteraction = 1;
    GVariantBuilder subject;
    g_variant_builder_init(&subject, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&subject, "{sv}", "name", g_variant_new_string(busName.c_str()));
    return g_variant_new(
        "((sa{sv})s@a{ss}us)", "system-bus-name", &subject, "com.quoxelin.desktop.helper.run",
        g_variant_new_array(G_VARIANT_TYPE("{ss}"), nullptr, 0), allowUserInteraction, "");
}

} // namespace

void askUser(GDBusConnection* bus, const std::string& busName,
             std::function<void(std::optional<uid_t>)> answer) {
    const Call call = {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                       "GetConnectionUnixUser", "(u)"};
    ask(bus, call, g_variant_new("(s)", busName.c_str()),
        [answer = std::move(answer)](const Owned<GVariant>& value, const std::string&) {
            if (!value)
                return answer(std::nullopt);
            guint32 user = 0;
            g_variant_get(value.get(), "(u)", &user);
            answer(user);
        });
}

void askPolkit(GDBusConnection* bus, const Caller& caller, std::function<void(bool)> answer,
               std::function<void(const std::string&)> log) {
    const Call call = {"org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                       "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization", "((bba{ss}))"};
    ask(bus, call, authorizationRequest(caller.busName),
        [answer = std::move(answer), log = std::move(log)](const Owned<GVariant>& value,
                                                           const std::string& why) {
            gboolean isAuthorized = FALSE;
            if (value)
                g_variant_get(value.get(), "((bba{ss}))", &isAuthorized, nullptr, nullptr);
            else
                log("polkit did not answer: " + forLog(why));
            answer(isAuthorized != FALSE);
        });
}

} // namespace quoxelin::helper
