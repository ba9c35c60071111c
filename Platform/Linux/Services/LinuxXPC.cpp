#include "Platform/Linux/Services/LinuxXPC.h"

#include "Platform/Linux/Services/SystemBusConversation.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace quoxelin {

namespace {

using Clock = std::chrono::steady_clock;
using ErrorHandler = std::function<void(const Error&)>;
using Reply = std::function<void(GVariant* reply)>;

constexpr auto longestWait = std::chrono::milliseconds(500);
constexpr auto recently = std::chrono::seconds(1);

// As the framework numbers them.
constexpr std::int64_t interrupted = 4097;
constexpr std::int64_t invalid = 4099;

Error connectionError(std::int64_t code, const std::string& text) {
    return {"NSCocoaErrorDomain", code, text};
}

/// One message of the helper's interface, whose object bears the name of the service.
struct Message {
    const char* method;
    const char* replyType;
    std::string path;
    std::vector<std::string> arguments;
};

GVariant* parametersOf(const Message& message) {
    if (std::string_view(message.method) == "Ping")
        return nullptr;
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& argument : message.arguments)
        g_variant_builder_add(&arguments, "s", argument.c_str());
    return g_variant_new("(sas)", message.path.c_str(), &arguments);
}

bool isText(const std::string& bytes) {
    return g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE;
}

std::string objectPathOf(std::string service) {
    std::replace(service.begin(), service.end(), '.', '/');
    return "/" + service;
}

} // namespace

struct LinuxXPC::State {
    explicit State(Dispatch& dispatch) : dispatch(dispatch) {}

    Dispatch& dispatch;
    std::mutex mutex;
    /// Something about a connection has changed.
    std::condition_variable changed;
    std::set<std::shared_ptr<Connection>> open;
    /// Null once the XPC that it belongs to has gone; connections may outlive it.
    BusThread* thread = nullptr;
};

/// The state's mutex guards all of it but the conversation, which is the bus thread's. Handlers and
/// replies are called on the connection's queue.
class LinuxXPC::Connection final : public NSXPCConnection,
                                   public std::enable_shared_from_this<Connection> {
  public:
    Connection(std::shared_ptr<State> state, std::string service)
        : state(std::move(state)), service(std::move(service)),
          queue(this->state->dispatch.makeSerial("xpc." + this->service)) {}

    void setInterruptionHandler(std::function<void()> handler) override {
        const std::lock_guard lock(state->mutex);
        interruptionHandler = std::move(handler);
    }

    void setInvalidationHandler(std::function<void()> handler) override {
        const std::lock_guard lock(state->mutex);
        invalidationHandler = std::move(handler);
    }

    void resume() override {
        const std::lock_guard lock(state->mutex);
        if (phase != Phase::made)
            return;
        phase = Phase::opening;
        state->open.insert(shared_from_this());
        perform([self = shared_from_this()] {
            SystemBusConversation::open([self](auto opened) {
                if (opened)
                    self->opened(std::move(*opened));
                else
                    self->invalidate();
            });
        });
    }

    std::shared_ptr<HelperToolProtocol>
    remoteObjectProxyWithErrorHandler(ErrorHandler handler) override;

    void invalidate() override {
        const std::lock_guard lock(state->mutex);
        close();
    }

    void send(Message message, Reply reply, ErrorHandler failed);

    /// With the mutex held.
    bool awaitsReplySince(Clock::time_point time) const {
        return std::any_of(pending.begin(), pending.end(),
                           [&](const auto& one) { return one.second.sent >= time; });
    }

    /// With the mutex held. The process ends: nobody is told.
    void drop() {
        phase = Phase::closed;
        pending.clear();
        interruptionHandler = nullptr;
        invalidationHandler = nullptr;
    }

    /// Bus thread. Its callbacks hold the connection weakly.
    void letGo() { conversation = nullptr; }

  private:
    /// With the mutex held.
    void perform(std::function<void()> work) {
        if (state->thread != nullptr)
            state->thread->perform(std::move(work));
    }

    enum class Phase { made, opening, open, closed };

    struct Pending {
        Reply reply;
        ErrorHandler failed;
        Clock::time_point sent;
    };

    void opened(std::shared_ptr<SystemBusConversation> bus);
    void found(bool isThere);
    void serviceEnded();
    void busLost();
    void answered(std::uint64_t id, Result<SystemBusConversation::Owned<GVariant>, std::string>);

    /// With the mutex held. What waits for a reply will get none.
    void failPending(const Error& error) {
        for (auto& [id, message] : std::exchange(pending, {}))
            queue->async([failed = std::move(message.failed), error] { failed(error); });
        state->changed.notify_all();
    }

    /// With the mutex held. The caller keeps a reference.
    void close() {
        if (phase == Phase::closed)
            return;
        auto told = std::exchange(invalidationHandler, nullptr);
        drop();
        if (told)
            queue->async(std::move(told));
        perform([self = shared_from_this()] { self->letGo(); });
        state->open.erase(shared_from_this());
        state->changed.notify_all();
    }

    const std::shared_ptr<State> state;
    const std::string service;
    std::unique_ptr<SerialQueue> queue;
    Phase phase = Phase::made;
    std::function<void()> interruptionHandler;
    std::function<void()> invalidationHandler;
    std::uint64_t nextMessage = 0;
    std::map<std::uint64_t, Pending> pending;
    std::shared_ptr<SystemBusConversation> conversation;
};

class LinuxXPC::Proxy final : public HelperToolProtocol {
  public:
    Proxy(std::shared_ptr<Connection> connection, ErrorHandler failed)
        : connection(std::move(connection)), failed(std::move(failed)) {}

    void runGoToolWithPath(const std::string& path, const std::vector<std::string>& arguments,
                           std::function<void(std::string output)> reply) override {
        connection->send(
            {"RunGoTool", "(s)", path, arguments},
            [reply = std::move(reply)](GVariant* answer) {
                const char* output = nullptr;
                g_variant_get(answer, "(&s)", &output);
                reply(output);
            },
            failed);
    }

    void pingWithReply(std::function<void(bool)> reply) override {
        connection->send(
            {"Ping", "(b)", {}, {}},
            [reply = std::move(reply)](GVariant* answer) {
                gboolean isThere = FALSE;
                g_variant_get(answer, "(b)", &isThere);
                reply(isThere != FALSE);
            },
            failed);
    }

  private:
    std::shared_ptr<Connection> connection;
    ErrorHandler failed;
};

void LinuxXPC::Connection::opened(std::shared_ptr<SystemBusConversation> bus) {
    {
        const std::lock_guard lock(state->mutex);
        if (phase == Phase::closed)
            return;
    }
    conversation = std::move(bus);
    const auto weakly = [weak = weak_from_this()](auto told) {
        return [weak, told](auto... values) {
            if (const auto self = weak.lock())
                ((*self).*told)(values...);
        };
    };
    conversation->followBus(weakly(&Connection::busLost));
    conversation->followService(service, weakly(&Connection::serviceEnded));
    conversation->findService(service, weakly(&Connection::found));
}

void LinuxXPC::Connection::found(bool isThere) {
    const std::lock_guard lock(state->mutex);
    if (!isThere)
        return close();
    if (phase == Phase::opening)
        phase = Phase::open;
    state->changed.notify_all();
}

void LinuxXPC::Connection::serviceEnded() {
    const std::lock_guard lock(state->mutex);
    if (pending.empty())
        return;
    failPending(connectionError(interrupted, service + " ended before it replied."));
    if (interruptionHandler)
        queue->async(interruptionHandler);
}

void LinuxXPC::Connection::busLost() {
    const std::lock_guard lock(state->mutex);
    failPending(connectionError(interrupted, "The system bus has ended."));
    close();
}

std::shared_ptr<HelperToolProtocol>
LinuxXPC::Connection::remoteObjectProxyWithErrorHandler(ErrorHandler handler) {
    std::unique_lock lock(state->mutex);
    state->changed.wait_for(lock, longestWait, [this] { return phase != Phase::opening; });
    if (phase != Phase::open)
        return nullptr;
    return std::make_shared<Proxy>(shared_from_this(), std::move(handler));
}

void LinuxXPC::Connection::send(Message message, Reply reply, ErrorHandler failed) {
    const std::lock_guard lock(state->mutex);
    const auto refuse = [&](const std::string& text) {
        queue->async([failed = std::move(failed), error = connectionError(invalid, text)] {
            failed(error);
        });
    };
    if (phase != Phase::open)
        return refuse("The connection to " + service + " was invalidated.");
    if (!isText(message.path) ||
        !std::all_of(message.arguments.begin(), message.arguments.end(), &isText))
        return refuse("Only texts in UTF-8 can be sent.");
    const auto id = nextMessage++;
    pending.emplace(id, Pending{std::move(reply), std::move(failed), Clock::now()});
    perform([self = shared_from_this(), id, message = std::move(message)] {
        if (self->conversation == nullptr)
            return;
        const auto object = objectPathOf(self->service);
        self->conversation->call(
            {self->service.c_str(), object.c_str(), "com.quoxelin.desktop.HelperToolProtocol",
             message.method, message.replyType},
            parametersOf(message), [weak = self->weak_from_this(), id](auto result) {
                if (const auto self = weak.lock())
                    self->answered(id, std::move(result));
            });
    });
}

void LinuxXPC::Connection::answered(
    std::uint64_t id, Result<SystemBusConversation::Owned<GVariant>, std::string> result) {
    const std::lock_guard lock(state->mutex);
    const auto found = pending.find(id);
    if (found == pending.end())
        return;
    if (result)
        queue->async(
            [reply = std::move(found->second.reply),
             answer = std::shared_ptr<GVariant>(std::move(*result))] { reply(answer.get()); });
    else
        queue->async([failed = std::move(found->second.failed),
                      error = connectionError(interrupted, result.error())] { failed(error); });
    pending.erase(found);
    state->changed.notify_all();
}

LinuxXPC::LinuxXPC(Dispatch& dispatch)
    : state(std::make_shared<State>(dispatch)), thread(std::make_unique<BusThread>()) {
    state->thread = thread.get();
}

LinuxXPC::~LinuxXPC() {
    const std::lock_guard lock(state->mutex);
    for (const auto& connection : std::exchange(state->open, {})) {
        connection->drop();
        thread->perform([connection] { connection->letGo(); });
    }
    state->thread = nullptr;
}

std::shared_ptr<NSXPCConnection>
LinuxXPC::privilegedConnection(const std::string& machServiceName) {
    return std::make_shared<Connection>(state, machServiceName);
}

void LinuxXPC::waitForRecentReplies(Duration longest) {
    const auto since = Clock::now() - recently;
    std::unique_lock lock(state->mutex);
    state->changed.wait_for(lock, longest, [&] {
        return std::none_of(state->open.begin(), state->open.end(), [&](const auto& connection) {
            return connection->awaitsReplySince(since);
        });
    });
}

} // namespace quoxelin
