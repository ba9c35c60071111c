#include "Helper/Service.h"

#include "Helper/Bus.h"
#include "Helper/CommandLine.h"
#include "Helper/Text.h"
#include "Helper/TrustedFile.h"

namespace quoxelin::helper {

namespace {

constexpr const char* busName = "com.quoxelin.desktop.Helper";
constexpr const char* objectPath = "/com/quoxelin/desktop/Helper";
constexpr const char* interfaceDescription = R"(
<node>
  <interface name="com.quoxelin.desktop.HelperToolProtocol">
    <method name="RunGoTool">
      <arg name="path" type="s" direction="in"/>
      <arg name="arguments" type="as" direction="in"/>
      <arg name="output" type="s" direction="out"/>
    </method>
    <method name="Ping">
      <arg name="isThere" type="b" direction="out"/>
    </method>
  </interface>
</node>)";

constexpr guint secondsUntilIdle = 60;

const char* errorName(Refusal::Reason reason) {
    switch (reason) {
    case Refusal::Reason::invalidArguments:
        return "org.freedesktop.DBus.Error.InvalidArgs";
    case Refusal::Reason::notAuthorised:
        return "org.freedesktop.DBus.Error.AccessDenied";
    case Refusal::Reason::limitsExceeded:
        return "org.freedesktop.DBus.Error.LimitsExceeded";
    case Refusal::Reason::failed:
        return "org.freedesktop.DBus.Error.Failed";
    }
    return "";
}

void answer(GDBusMethodInvocation* invocation, const tl::expected<std::string, Refusal>& outcome) {
    if (outcome)
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", outcome->c_str()));
    else
        g_dbus_method_invocation_return_dbus_error(invocation, errorName(outcome.error().reason),
                                                   outcome.error().text.c_str());
}

struct RunGoTool {
    std::string path;
    std::vector<std::string> arguments;
};

/// None when it is larger than anything that could be allowed. Nothing is copied before that is
/// known.
std::optional<RunGoTool> unpack(GVariant* parameters) {
    RunGoTool call;
    const Owned<GVariant> path(g_variant_get_child_value(parameters, 0));
    const Owned<GVariant> arguments(g_variant_get_child_value(parameters, 1));
    const auto textOf = [](GVariant* value, std::size_t longest) -> std::optional<std::string> {
        gsize length = 0;
        const char* text = g_variant_get_string(value, &length);
        if (length > longest)
            return std::nullopt;
        return std::string(text, length);
    };
    const auto name = textOf(path.get(), longestPath);
    const auto count = g_variant_n_children(arguments.get());
    if (!name || count > mostArguments)
        return std::nullopt;
    call.path = *name;
    for (gsize index = 0; index < count; ++index) {
        const Owned<GVariant> argument(g_variant_get_child_value(arguments.get(), index));
        const auto text = textOf(argument.get(), longestArgument);
        if (!text)
            return std::nullopt;
        call.arguments.push_back(*text);
    }
    return call;
}

} // namespace

Service::Service(Owned<GDBusConnection> bus, std::string bundleRoot,
                 std::function<void(const std::string&)> write)
    : bus(std::move(bus)), loop(g_main_loop_new(nullptr, FALSE)),
      description(g_dbus_node_info_new_for_xml(interfaceDescription, nullptr)),
      log(std::move(write), &RefusalLog::Clock::now), children([this] { endIfDone(); }),
      requests(dependencies(std::move(bundleRoot))) {}

Service::~Service() = default;

Requests::Dependencies Service::dependencies(std::string bundleRoot) {
    const auto write = [this](const std::string& line) { log(line); };
    return {
        std::move(bundleRoot),
        [this, write](const Caller& caller, std::function<void(bool)> answer) {
            askPolkit(bus.get(), caller, std::move(answer), write);
        },
        [](const std::string& path) { return openTrusted(path); },
        [this](const FileDescriptor& executable, const std::vector<std::string>& words,
               std::function<void(std::string)> finished) {
            return children.run(executable, words, std::move(finished));
        },
        write,
    };
}

tl::expected<void, std::string> Service::serve() {
    if (auto offered = offer(); !offered)
        return offered;
    waitForCalls();
    g_main_loop_run(loop.get());
    // What was answered last has to leave before the process does.
    g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);
    return {};
}

tl::expected<void, std::string> Service::offer() {
    // The end of the bus does not end what runs.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    g_signal_connect_swapped(bus.get(), "closed", G_CALLBACK(+[](Service* self) { self->leave(); }),
                             this);
    static const GDBusInterfaceVTable table = {&Service::called, nullptr, nullptr, {}};
    GError* error = nullptr;
    g_dbus_connection_register_object(bus.get(), objectPath, description->interfaces[0], &table,
                                      this, nullptr, &error);
    if (const Owned<GError> owned{error})
        return tl::unexpected(std::string(owned->message));
    if (!ownName())
        return tl::unexpected(std::string(busName) + " is not ours to own");
    return {};
}

bool Service::ownName() {
    constexpr guint32 doNotQueue = 4;
    constexpr guint32 isOwner = 1;
    const Owned<GVariant> answer(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", busName, doNotQueue), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    guint32 outcome = 0;
    if (answer)
        g_variant_get(answer.get(), "(u)", &outcome);
    return outcome == isOwner;
}

void Service::called(GDBusConnection*, const char* sender, const char*, const char*,
                     const char* method, GVariant* parameters, GDBusMethodInvocation* invocation,
                     gpointer data) {
    auto& self = *static_cast<Service*>(data);
    self.waitForCalls();
    if (g_str_equal(method, "Ping"))
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", TRUE));
    else
        self.runGoTool(sender, parameters, invocation);
}

void Service::runGoTool(const std::string& sender, GVariant* parameters,
                        GDBusMethodInvocation* invocation) {
    using enum Refusal::Reason;
    auto call = unpack(parameters);
    if (!call)
        return refuse(sender, invalidArguments, "The request is too large.", invocation);
    auto arrival = arrivals.take(sender);
    if (!arrival)
        return refuse(sender, limitsExceeded, "Too many requests at once.", invocation);
    askUser(bus.get(), sender,
            [this, sender, call = std::move(*call), arrival = std::move(arrival),
             invocation](std::optional<uid_t> user) mutable {
                arrival.reset();
                if (!user)
                    return refuse(sender, notAuthorised, "Not authorised.", invocation);
                requests.runGoTool({sender, *user}, call.path, call.arguments,
                                   [this, invocation](const auto& outcome) {
                                       answer(invocation, outcome);
                                       waitForCalls();
                                       endIfDone();
                                   });
            });
}

void Service::refuse(const std::string& sender, Refusal::Reason reason, const char* text,
                     GDBusMethodInvocation* invocation) {
    log("refused " + forLog(sender) + ": " + text);
    answer(invocation, tl::unexpected(Refusal{reason, text}));
    endIfDone();
}

void Service::waitForCalls() {
    if (idleTimer != 0)
        g_source_remove(idleTimer);
    idleTimer = 0;
    if (isLeaving)
        return;
    idleTimer = g_timeout_add_seconds(
        secondsUntilIdle,
        [](gpointer data) -> gboolean {
            auto& self = *static_cast<Service*>(data);
            self.idleTimer = 0;
            self.leaveIfIdle();
            return G_SOURCE_REMOVE;
        },
        this);
}

/// With a request going on, its reply begins the next span of waiting.
void Service::leaveIfIdle() {
    if (!isBusy())
        leave();
}

/// When the bus has taken the name back, what it delivered before that waits in the main loop.
void Service::leave() {
    if (std::exchange(isLeaving, true))
        return;
    if (!g_dbus_connection_is_closed(bus.get())) {
        const Owned<GVariant> released(g_dbus_connection_call_sync(
            bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "ReleaseName", g_variant_new("(s)", busName), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
            nullptr, nullptr));
    }
    endIfDone();
}

/// Later, when all that waits in the main loop has been served.
void Service::endIfDone() {
    if (!isLeaving)
        return;
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer data) -> gboolean {
            auto& self = *static_cast<Service*>(data);
            if (!self.isBusy() && self.children.isEmpty())
                g_main_loop_quit(self.loop.get());
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

} // namespace quoxelin::helper
