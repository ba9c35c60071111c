#include "Helper/Bus.h"

#include "Helper/Text.h"

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

Call polkitCall(const char* method, const char* replyType) {
    return {"org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
            "org.freedesktop.PolicyKit1.Authority", method, replyType};
}

/// Takes a question back when the one whom it is about has gone: otherwise it would stay on
/// somebody's screen, and a slot taken.
class Withdrawal {
  public:
    Withdrawal(GDBusConnection* bus, const std::string& busName, std::string question)
        : question(std::move(question)),
          watch(g_bus_watch_name_on_connection(bus, busName.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE,
                                               nullptr, &Withdrawal::gone, this, nullptr)) {}
    ~Withdrawal() { g_bus_unwatch_name(watch); }
    Withdrawal(const Withdrawal&) = delete;
    Withdrawal& operator=(const Withdrawal&) = delete;

  private:
    static void gone(GDBusConnection* bus, const char*, gpointer self) {
        if (bus != nullptr)
            ask(bus, polkitCall("CancelCheckAuthorization", "()"),
                g_variant_new("(s)", static_cast<Withdrawal*>(self)->question.c_str()),
                [](const Owned<GVariant>&, const std::string&) {});
    }

    const std::string question;
    const guint watch;
};

/// The caller by its name on the bus, which the bus vouches for and never gives to another.
GVariant* authorizationRequest(const std::string& busName, const std::string& question) {
    constexpr guint32 allowUserInteraction = 1;
    GVariantBuilder subject;
    g_variant_builder_init(&subject, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&subject, "{sv}", "name", g_variant_new_string(busName.c_str()));
    return g_variant_new("((sa{sv})s@a{ss}us)", "system-bus-name", &subject,
                         "com.quoxelin.desktop.helper.run",
                         g_variant_new_array(G_VARIANT_TYPE("{ss}"), nullptr, 0),
                         allowUserInteraction, question.c_str());
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
    static unsigned long questions = 0;
    const auto question = "quoxelin-helper-" + std::to_string(++questions);
    ask(bus, polkitCall("CheckAuthorization", "((bba{ss}))"),
        authorizationRequest(caller.busName, question),
        [answer = std::move(answer), log = std::move(log),
         withdrawal = std::make_shared<Withdrawal>(bus, caller.busName, question)](
            const Owned<GVariant>& value, const std::string& why) {
            gboolean isAuthorized = FALSE;
            if (value)
                g_variant_get(value.get(), "((bba{ss}))", &isAuthorized, nullptr, nullptr);
            else
                log("polkit did not answer: " + forLog(why));
            answer(isAuthorized != FALSE);
        });
}

} // namespace quoxelin::helper
