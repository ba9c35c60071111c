#pragma once

#include "Runner/Shared/HelperConnection.h"

#include <functional>
#include <string>

namespace quoxelin {

class AppLogger;

/// Runs the daemon and its command-line tool as root through the privileged helper, with one
/// connection per request. Any thread. Completions come on any thread, perhaps before the call
/// returns. There is no time-out: if the helper never replies, the completion is never called.
class QuoxelinCLI {
  public:
    struct Dependencies {
        AppLogger& logger;
        XPC& xpc;
        NSBundle& mainBundle;
    };

    explicit QuoxelinCLI(const Dependencies& dependencies);

    static QuoxelinCLI& shared();

    /// True if the helper replies, whatever it replies. False if there is no helper.
    void ping(const std::function<void(bool)>& completion);

    /// Starts the daemon with the bundle's conductor and signal hosts. The outcome is only logged.
    void up();

    /// Runs the tool's down command. The outcome is only logged.
    void down();

  private:
    void runAndLog(const std::string& path, const std::vector<std::string>& arguments,
                   const std::string& label);
    void withHelper(const std::function<void()>& onFailure, const HelperBody& body);

    AppLogger& logger;
    XPC& xpc;
    NSBundle& mainBundle;
    const std::string quoxelinPath;
    const std::string quoxelindPath;
};

} // namespace quoxelin
