#pragma once

#include "Base/Dispatch.h"
#include "Platform/XPC.h"

#include <map>
#include <mutex>
#include <optional>

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

    explicit SimulatedXPC(Dispatch& dispatch);
    SimulatedXPC(const SimulatedXPC&) = delete;
    SimulatedXPC& operator=(const SimulatedXPC&) = delete;
    ~SimulatedXPC() override;

    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    void setHelper(Helper helper);

    /// If false, there is no proxy, as for a helper that is not registered or approved. Initially
    /// true.
    void setLaunchAllowed(bool allowed);

    /// How long an answer takes; initially no time.
    void setReplyDelay(Duration delay);

    /// Sets the tool's output for a first argument ("up", "--help"). Other outputs are empty.
    void setOutput(const std::string& firstArgument, const std::string& output);

    /// The helper exits: unanswered messages fail and open connections are interrupted. The next
    /// connection starts it again.
    void killHelper();

    /// The helper closes all open connections.
    void invalidateConnections();

    /// The messages that reached the helper, in order.
    std::vector<Message> messages() const;

    /// The number of all connections so far, and of those resumed and not invalidated.
    std::size_t connectionsMade() const;
    std::size_t openConnections() const;

  private:
    class Connection;
    class Proxy;
    struct State;

    std::shared_ptr<State> state;
};

} // namespace quoxelin
