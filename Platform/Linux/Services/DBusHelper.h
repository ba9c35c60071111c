#pragma once

#include "Base/Dispatch.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/XPC.h"

#include <set>

namespace quoxelin {

/// The privileged helper, a service that the system bus starts on demand. Connections to it share
/// this program's system bus connection. Without the bus or the service, there is no remote end.
/// Errors of the bus or the helper keep their texts. Handlers and replies are called on the main
/// thread.
class DBusHelper final : public XPC {
  public:
    static constexpr const char* service = "com.quoxelin.desktop.Helper";

    /// Main thread, except for the functions of the interface. The system bus must outlive this
    /// object.
    DBusHelper(Dispatch& dispatch, Bus& bus);
    ~DBusHelper() override;

    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    ServicePresence& presence() { return servicePresence; }

    /// Call this before the process ends, because the helper refuses a caller that has exited
    /// before it checks the caller. Serves the bus until requests of the last second are answered,
    /// at most for `longest`.
    void waitForRecentReplies(std::chrono::milliseconds longest);

  private:
    class Connection;
    class Proxy;

    Dispatch& dispatch;
    Bus& bus;
    ServicePresence servicePresence{bus, service, ServicePresence::Counts::runningOrActivatable,
                                    [] {}};
    /// Connections that are resumed and not yet invalidated.
    std::set<std::shared_ptr<Connection>> open;
    Subscription busObservation;
};

} // namespace quoxelin
