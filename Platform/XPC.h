#pragma once

#include "Base/Error.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

// Connections to the privileged helper. Any thread; the platform chooses the thread of handlers and
// replies.

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

/// A connection to a privileged service. Set the handlers, then resume it.
///
/// It stays open until it is invalidated, even if nothing refers to it.
class NSXPCConnection {
  public:
    virtual ~NSXPCConnection() = default;

    /// Called if the service exits while the connection is open.
    virtual void setInterruptionHandler(std::function<void()> handler) = 0;

    /// Called once, when the connection fails or is invalidated from either side.
    virtual void setInvalidationHandler(std::function<void()> handler) = 0;

    virtual void resume() = 0;

    /// Passes on the remote object, or null if there is none or it does not implement
    /// `HelperToolProtocol`, before the call returns or later. A message that fails calls the error
    /// handler instead of its reply.
    virtual void remoteObjectProxyWithErrorHandler(
        std::function<void(const Error&)> handler,
        std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) = 0;

    /// Closes the connection. No replies come afterward. A second call does nothing.
    virtual void invalidate() = 0;
};

class XPC {
  public:
    virtual ~XPC() = default;

    /// A connection to the Mach service in the system domain ("privileged"), with
    /// `HelperToolProtocol` as its remote interface.
    virtual std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) = 0;
};

} // namespace quoxelin
