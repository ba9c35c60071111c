#pragma once

#include "Base/Result.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

struct Platform;

/// What the command line asks for.
struct LaunchOptions {
    /// The name under which the program was started.
    std::string program;
    /// For development: the daemon's socket.
    std::optional<std::string> socketPath;
    /// The URL that a browser passes on after a login.
    std::optional<std::string> callbackURL;
};

/// The operating system's side of the process. Never destroyed once the application runs, because
/// blocked threads may still use it when the process ends.
class PlatformHost {
  public:
    virtual ~PlatformHost() = default;
    virtual const Platform& platform() const = 0;

    /// Calls the observer with a log line for each missing system service, and again when one
    /// appears or disappears. Call it once, on the main thread. The observer runs on the main
    /// thread, after the launch.
    virtual void observeMissingServices(std::function<void(const std::string& line)>) {}

    /// Called once, last. Returns when this process has delivered its last messages, or on
    /// time-out.
    virtual void settle() {}
};

/// Why there is no platform, and the exit code of the process.
struct LaunchRefusal {
    /// For standard error. Empty if there is nothing to say.
    std::string text;
    int exitCode = 0;
};

/// A program's arguments without those that the system adds when it starts one.
std::vector<std::string> withoutSystemArguments(std::vector<std::string> arguments);

/// Makes the platform of this build. Each platform implements it, and a program links exactly one.
/// Call it once, on the main thread.
Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options);

} // namespace quoxelin
