#pragma once

#include "Base/Error.h"
#include "Platform/XPC.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

class NSBundle;

/// What a client of the privileged helper hears about its connection. Each may be empty. Called on
/// the client's thread or on the connection's private queue, where noted.
struct HelperConnectionEvents {
    std::function<void()> willConnect;
    std::function<void()> resumed;
    /// There is nobody to talk to; the connection is about to be invalidated.
    std::function<void()> noProxy;
    /// Private queue.
    std::function<void()> interrupted;
    /// Private queue.
    std::function<void()> invalidated;
    /// Private queue. A message failed, so its reply will not come.
    std::function<void(const Error&)> failed;
};

/// Receives the far end. It sends one message, whose reply handler invalidates the connection.
using HelperBody = std::function<void(HelperToolProtocol& helper,
                                      const std::shared_ptr<NSXPCConnection>& connection)>;

/// Opens a connection of its own to the privileged helper, for one request. Without a proxy the
/// connection is invalidated and false is the answer.
bool withHelper(XPC& xpc, const HelperConnectionEvents& events, const HelperBody& body);

/// The full path of an executable in the bundle's resources; empty when it is missing.
std::string bundledExecutable(const NSBundle& bundle, const std::string& name);

/// How the daemon is started: "up", and then the conductor and signal hosts of the bundle.
std::vector<std::string> quoxelindUpArguments(const NSBundle& bundle);

/// Appends `flag` and the information dictionary's text for `key`, unless that is missing or empty.
void appendInfoPlistArg(std::vector<std::string>& arguments, const NSBundle& bundle,
                        const std::string& key, const std::string& flag);

} // namespace quoxelin
