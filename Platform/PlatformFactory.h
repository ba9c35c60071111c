#pragma once

#include "Base/Result.h"

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
    /// An in-memory operating system under the services; files, sockets, clock, log and windows
    /// stay real.
    bool simulate = false;
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
};

/// Makes the platform of this build; each platform implements it, and a program links exactly one.
/// Call it once, on the main thread. A failure is a text for standard error.
Result<std::unique_ptr<PlatformHost>, std::string> makePlatform(const LaunchOptions& options);

} // namespace quoxelin
