#pragma once

#include "Base/Dispatch.h"
#include "Platform/XPC.h"

#include <map>
#include <mutex>
#include <vector>

namespace quoxelin {

/// Connections to one privileged helper, and the helper itself. Any thread. Replies and handlers
/// run on the connection's queue.
class SimulatedXPC final : public XPC {
  public:
    /// How the helper behaves.
    enum class Helper {
        /// Answers after the reply delay.
        answering,
        /// Accepts messages, but never answers.
        silent,
        /// Does not exist: resuming a connection invalidates it, and messages fail.
        missing,
        /// Does not implement the helper's protocol, so there is no proxy.
        incompatible,
    };

    /// A message that reached the helper.
    struct Message {
        std::string service;
        std::string path;
        std::vector<std::string> arguments;
        /// A "ping" has neither path nor arguments.
        bool isPing = false;
        bool operator==(const Message&) const = default;
    };

    explicit SimulatedXPC(Dispatch& dispatch) : state(std::make_shared<State>(dispatch)) {}
    SimulatedXPC(const SimulatedXPC&) = delete;
    SimulatedXPC& operator=(const SimulatedXPC&) = delete;
    ~SimulatedXPC() override;

    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    void setHelper(Helper helper) { set(&State::helper, helper); }

    /// If false, there is no proxy, as for a helper that is not registered or approved. Initially
    /// true.
    void setLaunchAllowed(bool allowed) { set(&State::launchAllowed, allowed); }

    /// How long an answer takes; initially no time.
    void setReplyDelay(Duration delay) { set(&State::replyDelay, delay); }

    /// Sets the tool's output for a first argument ("up", "--help"). Other outputs are empty.
    void setOutput(const std::string& firstArgument, const std::string& output) {
        const std::lock_guard lock(state->mutex);
        state->outputs[firstArgument] = output;
    }

    /// The helper exits: unanswered messages fail and open connections are interrupted. The next
    /// connection starts it again.
    void killHelper();

    /// The helper closes all open connections.
    void invalidateConnections();

    /// The messages that reached the helper, in order.
    std::vector<Message> messages() const { return get(&State::messages); }

    /// The number of all connections so far, and of those resumed and not invalidated.
    std::size_t connectionsMade() const { return get(&State::made); }
    std::size_t openConnections() const { return get(&State::open).size(); }

  private:
    class Connection;
    struct State {
        explicit State(Dispatch& dispatch) : dispatch(dispatch) {}

        Dispatch& dispatch;
        mutable std::mutex mutex;
        Helper helper = Helper::answering;
        bool launchAllowed = true;
        Duration replyDelay{0};
        std::map<std::string, std::string> outputs;
        std::vector<Message> messages;
        std::vector<std::shared_ptr<Connection>> open;
        std::size_t made = 0;
    };

    template <typename T>
    T get(T State::*field) const {
        const std::lock_guard lock(state->mutex);
        return (*state).*field;
    }
    template <typename T>
    void set(T State::*field, T value) {
        const std::lock_guard lock(state->mutex);
        (*state).*field = value;
    }

    std::shared_ptr<State> state;
};

} // namespace quoxelin
