#include "Simulation/System/SimulatedXPC.h"

#include <utility>

namespace quoxelin {

namespace {

Error interrupted(const std::string& service) {
    return {"NSCocoaErrorDomain", 4097,
            "Couldn’t communicate with a helper application: connection to service named " +
                service};
}

Error invalid(const std::string& service) {
    return {"NSCocoaErrorDomain", 4099,
            "The connection to service named " + service + " was invalidated."};
}

} // namespace

/// The state's mutex guards all members. Handlers and replies are called without it.
class SimulatedXPC::Connection final : public NSXPCConnection,
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
        if (resumed || closed)
            return;
        resumed = true;
        state->open.push_back(shared_from_this());
        if (state->helper == Helper::missing)
            close();
    }

    void remoteObjectProxyWithErrorHandler(
        std::function<void(const Error&)> handler,
        std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) override {
        std::unique_lock lock(state->mutex);
        const bool isThere = state->launchAllowed && state->helper != Helper::incompatible;
        lock.unlock();
        completion(isThere ? std::make_shared<Proxy>(shared_from_this(), std::move(handler))
                           : nullptr);
    }

    void invalidate() override {
        const std::lock_guard lock(state->mutex);
        close();
    }

    /// Requires the mutex. Unanswered messages fail first.
    void interrupt(bool alsoConnection) {
        for (auto& [id, message] : std::exchange(pending, {}))
            queue->async([handler = std::move(message.errorHandler), error = interrupted(service)] {
                handler(error);
            });
        if (alsoConnection && interruptionHandler)
            queue->async(interruptionHandler);
    }

    /// Requires the mutex.
    void drop() {
        closed = true;
        pending.clear();
        interruptionHandler = nullptr;
        invalidationHandler = nullptr;
    }

    /// Requires the mutex. No replies come afterward; releases the handlers.
    void close() {
        if (closed)
            return;
        auto told = std::exchange(invalidationHandler, nullptr);
        drop();
        if (told)
            queue->async(std::move(told));
        // Safe even if the list holds the last reference but the caller's.
        std::erase(state->open, shared_from_this());
    }

  private:
    struct Pending {
        std::function<void(const std::string& output)> reply;
        std::function<void(const Error&)> errorHandler;
    };

    struct Proxy final : HelperToolProtocol {
        Proxy(std::shared_ptr<Connection> connection, std::function<void(const Error&)> handler)
            : connection(std::move(connection)), errorHandler(std::move(handler)) {}

        void runGoToolWithPath(const std::string& path, const std::vector<std::string>& arguments,
                               std::function<void(std::string)> reply) override {
            connection->send({connection->service, path, arguments, false},
                             {std::move(reply), errorHandler});
        }
        void pingWithReply(std::function<void(bool)> reply) override {
            connection->send(
                {connection->service, {}, {}, true},
                {[reply = std::move(reply)](const std::string&) { reply(true); }, errorHandler});
        }

        std::shared_ptr<Connection> connection;
        std::function<void(const Error&)> errorHandler;
    };

    void send(Message message, Pending answered) {
        const std::lock_guard lock(state->mutex);
        if (!resumed || closed || state->helper == Helper::missing) {
            queue->async([handler = std::move(answered.errorHandler), error = invalid(service)] {
                handler(error);
            });
            return;
        }
        const auto found = message.arguments.empty() ? state->outputs.end()
                                                     : state->outputs.find(message.arguments[0]);
        auto output = found == state->outputs.end() ? std::string() : found->second;
        state->messages.push_back(std::move(message));
        const auto id = nextMessage++;
        pending.emplace(id, std::move(answered));
        if (state->helper != Helper::answering)
            return;
        auto answering = [self = shared_from_this(), id, output = std::move(output)] {
            self->answer(id, output);
        };
        if (state->replyDelay > Duration::zero())
            state->dispatch.main().asyncAfter(state->replyDelay, std::move(answering));
        else
            state->dispatch.global(QualityOfService::standard).async(std::move(answering));
    }

    void answer(std::uint64_t id, const std::string& output) {
        const std::lock_guard lock(state->mutex);
        if (auto answered = pending.extract(id))
            queue->async([reply = std::move(answered.mapped().reply), output] { reply(output); });
    }

    std::shared_ptr<State> state;
    std::string service;
    std::unique_ptr<SerialQueue> queue;
    bool resumed = false;
    bool closed = false;
    std::function<void()> interruptionHandler;
    std::function<void()> invalidationHandler;
    std::uint64_t nextMessage = 0;
    std::map<std::uint64_t, Pending> pending;
};

SimulatedXPC::~SimulatedXPC() {
    // Drops open connections without calling their handlers.
    const std::lock_guard lock(state->mutex);
    for (const auto& connection : std::exchange(state->open, {}))
        connection->drop();
}

std::shared_ptr<NSXPCConnection>
SimulatedXPC::privilegedConnection(const std::string& machServiceName) {
    const std::lock_guard lock(state->mutex);
    ++state->made;
    return std::make_shared<Connection>(state, machServiceName);
}

void SimulatedXPC::killHelper() {
    const std::lock_guard lock(state->mutex);
    for (const auto& connection : state->open)
        connection->interrupt(true);
}

void SimulatedXPC::invalidateConnections() {
    const std::lock_guard lock(state->mutex);
    const auto closing = state->open;
    for (const auto& connection : closing) {
        connection->interrupt(false);
        connection->close();
    }
}

} // namespace quoxelin
