#pragma once

#include "Base/Dispatch.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/XPC.h"

#include <set>

namespace quoxelin {

/// The privileged helper, a service that the system bus starts on demand. A connection to it is a
/// share of this program's connection to that bus. Where the bus or the service is missing there is
/// no far end. An error of the bus or of the helper comes with the text that they gave it. Handlers
/// and replies are called on the main thread.
class DBusHelper final : public XPC {
  public:
    static constexpr const char* service = "com.quoxelin.desktop.Helper";

    /// Main thread, as all but the calls of the interface. The system's bus lives longer.
    DBusHelper(Dispatch& dispatch, Bus& bus);
    ~DBusHelper() override;

    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    ServicePresence& presence() { return servicePresence; }

    /// For the end of the process: the helper refuses a caller that has exited by the time it looks
    /// who is asking. Serves the bus until what was asked during the last second has been answered,
    /// `longest` at most.
    void waitForRecentReplies(std::chrono::milliseconds longest);

  private:
    class Connection;
    class Proxy;

    Dispatch& dispatch;
    Bus& bus;
    ServicePresence servicePresence{bus, service, ServicePresence::Counts::runningOrActivatable,
                                    [] {}};
    /// Resumed and not yet invalidated.
    std::set<std::shared_ptr<Connection>> open;
    Subscription busObservation;
};

} // namespace quoxelin
