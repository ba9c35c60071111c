#pragma once

#include "Base/Dispatch.h"
#include "Platform/Linux/Services/BusThread.h"
#include "Platform/XPC.h"

namespace quoxelin {

/// The privileged helper over the system bus, which starts it on demand. Each connection is one to
/// the bus as well: where the bus or the service is missing it is invalidated, and the next one
/// tries anew.
///
/// Asking for the far end waits until it is known whether there is one: for two exchanges with the
/// bus, which take a millisecond, and for half a second at most, after which there is none. Nothing
/// else waits. An error of the bus or of the helper comes with the text that they gave it.
class LinuxXPC final : public XPC {
  public:
    explicit LinuxXPC(Dispatch& dispatch);
    ~LinuxXPC() override;

    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    /// For the end of the process, with which a connection ends: a helper that has still to find
    /// out who asked it would find nobody. Returns when what was sent during the last second has
    /// been answered, or after `longest`.
    void waitForRecentReplies(Duration longest);

  private:
    class Connection;
    class Proxy;
    struct State;
    std::shared_ptr<State> state;
    std::unique_ptr<BusThread> thread;
};

} // namespace quoxelin
