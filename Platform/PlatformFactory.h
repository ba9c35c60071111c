#pragma once

#include "Base/Result.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

struct Platform;

/// What the person who starts the application asks for.
struct LaunchOptions {
    /// The name that the program was called by.
    std::string program;
    /// Development: where the daemon listens.
    std::optional<std::string> socketPath;
    /// The URL that a browser handed over after a login.
    std::optional<std::string> callbackURL;
};

/// The operating system's side of the process. Never destroyed once the application runs: threads
/// that block may still refer to it when the process ends.
class PlatformHost {
  public:
    virtual ~PlatformHost() = default;
    virtual const Platform& platform() const = 0;

    /// Calls the observer with a line for the application's log about each service of the system
    /// that it has to do without, and again when one comes or goes. Once, on the main thread, where
    /// it is called, too: from the main loop, after the launch.
    virtual void observeMissingServices(std::function<void(const std::string& line)>) {}

    /// Called once, last: returns when what was sent at the end has arrived, where that takes this
    /// process, or when it has had its time.
    virtual void settle() {}
};

/// Why there is no platform, and how the process ends.
struct LaunchRefusal {
    /// For standard error; empty where nobody needs to be told.
    std::string text;
    int exitCode = 0;
};

/// Makes the platform of this build; each platform implements it, and a program links exactly one.
/// Call it once, on the main thread.
Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options);

} // namespace quoxelin
