#pragma once

#include "Base/Error.h"
#include "Platform/XPC.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

class NSBundle;

/// Callbacks about a client's connection to the privileged helper. Each may be empty. The first two
/// are called on the client's thread, the others on the connection's.
struct HelperConnectionEvents {
    std::function<void()> willConnect;
    std::function<void()> resumed;
    /// The helper is unavailable; the connection is about to be invalidated.
    std::function<void()> noProxy;
    std::function<void()> interrupted;
    std::function<void()> invalidated;
    /// A message failed and will not be answered.
    std::function<void(const Error&)> failed;
};

/// Receives the helper's proxy, before `withHelper` returns or later. Sends one message, whose
/// reply handler invalidates the connection.
using HelperBody = std::function<void(HelperToolProtocol& helper,
                                      const std::shared_ptr<NSXPCConnection>& connection)>;

/// Opens a connection to the privileged helper for one request. Without a proxy, invalidates the
/// connection and calls `onFailure`, which may be empty, instead of the body.
void withHelper(XPC& xpc, const HelperConnectionEvents& events,
                const std::function<void()>& onFailure, const HelperBody& body);

/// The full path of an executable in the bundle's resources. Empty if it is missing.
std::string bundledExecutable(const NSBundle& bundle, const std::string& name);

/// The daemon's arguments: "up", then the bundle's conductor and signal hosts.
std::vector<std::string> quoxelindUpArguments(const NSBundle& bundle);

/// Appends `flag` and the information dictionary's text for `key`, unless the text is missing or
/// empty.
void appendInfoPlistArg(std::vector<std::string>& arguments, const NSBundle& bundle,
                        const std::string& key, const std::string& flag);

} // namespace quoxelin
