#pragma once

#include "Base/Error.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

// Inter-process connections to the privileged helper. Calls may come from any thread; handlers and
// replies come on the connection's private queue, never on the main thread by promise.

/// The messages that the helper accepts.
class HelperToolProtocol {
  public:
    virtual ~HelperToolProtocol() = default;

    /// Runs the executable as root and replies with its output.
    virtual void runGoToolWithPath(const std::string& path,
                                   const std::vector<std::string>& arguments,
                                   std::function<void(std::string output)> reply) = 0;

    virtual void pingWithReply(std::function<void(bool)> reply) = 0;
};

/// One connection to a privileged service. Set the handlers, then resume it.
///
/// It stays open until it is invalidated, also when nobody refers to it any more.
class NSXPCConnection {
  public:
    virtual ~NSXPCConnection() = default;

    /// Called when the service ends while the connection is open.
    virtual void setInterruptionHandler(std::function<void()> handler) = 0;

    /// Called when the connection cannot be made or has been invalidated, from either side; once.
    virtual void setInvalidationHandler(std::function<void()> handler) = 0;

    virtual void resume() = 0;

    /// The far end, or null when it does not speak `HelperToolProtocol`. A message that fails calls
    /// the error handler instead of its reply.
    virtual std::shared_ptr<HelperToolProtocol>
    remoteObjectProxyWithErrorHandler(std::function<void(const Error&)> handler) = 0;

    /// Closes the connection; nothing is replied afterwards. A second call does nothing.
    virtual void invalidate() = 0;
};

class XPC {
  public:
    virtual ~XPC() = default;

    /// A connection to the Mach service in the system domain ("privileged"), its remote interface
    /// being `HelperToolProtocol`.
    virtual std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) = 0;
};

} // namespace quoxelin
