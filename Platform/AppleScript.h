#pragma once

#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

/// A script that the scripting service has accepted.
class NSAppleScript {
  public:
    virtual ~NSAppleScript() = default;

    /// Compiles and runs the script. Blocks the calling thread while the system asks for a password
    /// and while the script runs. Returns the description of the error information, or nothing on
    /// success.
    virtual std::optional<std::string> executeAndReturnError() = 0;
};

class AppleScript {
  public:
    virtual ~AppleScript() = default;

    /// Null if the text cannot be made into a script. Any thread.
    virtual std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) = 0;
};

} // namespace quoxelin
