#pragma once

#include "Base/Dispatch.h"
#include "Platform/XPC.h"

#include <map>
#include <mutex>
#include <optional>

namespace quoxelin {

/// Connections to one privileged helper, and the helper itself. Any thread; replies and handlers
/// come on a queue of the connection's own.
class SimulatedXPC final : public XPC {
  public:
    /// What is at the other end.
    enum class Helper {
        /// It runs, and answers after the reply delay.
        answering,
        /// It runs and takes messages, but never answers.
        silent,
        /// Nothing: a connection is invalidated as soon as it is resumed, a message calls the
        /// error handler.
        missing,
        /// Something that does not speak the helper's protocol: there is no proxy.
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

    /// While the system may not launch the helper, because it is not registered or not approved,
    /// there is no proxy, whatever `setHelper` says. Allowed to begin with.
    void setLaunchAllowed(bool allowed);

    /// How long an answer takes; at once to begin with.
    void setReplyDelay(Duration delay);

    /// The tool's output for a first argument ("up", "--help"); empty for the others.
    void setOutput(const std::string& firstArgument, const std::string& output);

    /// The helper dies: messages that wait are answered by the error handler, every open connection
    /// is interrupted. The next connection starts it again.
    void killHelper();

    /// The helper's side closes every open connection.
    void invalidateConnections();

    /// The messages that reached the helper, in order.
    std::vector<Message> messages() const;

    /// Connections so far, and those that were resumed and not invalidated.
    std::size_t connectionsMade() const;
    std::size_t openConnections() const;

  private:
    class Connection;
    class Proxy;
    struct State;

    std::shared_ptr<State> state;
};

} // namespace quoxelin
