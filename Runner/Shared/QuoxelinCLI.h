#pragma once

#include "Runner/Shared/HelperConnection.h"

#include <functional>
#include <string>

namespace quoxelin {

class AppLogger;

/// Has the daemon and its command-line tool, which must run as root, run by the privileged helper.
/// One connection a request. Calls may come from any thread; completions come on the connection's
/// private queue, or before the call returns when there is no helper. There is no time-out: a
/// helper that never replies leaves a completion uncalled.
class QuoxelinCLI {
  public:
    struct Dependencies {
        AppLogger& logger;
        XPC& xpc;
        NSBundle& mainBundle;
    };

    explicit QuoxelinCLI(const Dependencies& dependencies);

    static QuoxelinCLI& shared();

    /// True when the helper replies, whatever; false when there is no helper to talk to.
    void ping(const std::function<void(bool)>& completion);

    /// Starts the daemon, pointed at the bundle's conductor and signal hosts. Only logged.
    void up();

    /// Runs the tool's down command. Only logged.
    void down();

  private:
    void withHelper(const std::function<void()>& onFailure, const HelperBody& body);

    AppLogger& logger;
    XPC& xpc;
    NSBundle& mainBundle;
    const std::string quoxelinPath;
    const std::string quoxelindPath;
};

} // namespace quoxelin
