#pragma once

#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

/// A script that has been taken by the scripting service.
class NSAppleScript {
  public:
    virtual ~NSAppleScript() = default;

    /// Compiles and runs it, on the calling thread, which it blocks while the system asks for a
    /// password and while the script runs. Answers with the description of the error information,
    /// absent on success.
    virtual std::optional<std::string> executeAndReturnError() = 0;
};

class AppleScript {
  public:
    virtual ~AppleScript() = default;

    /// Null when no script can be made of the text. Any thread.
    virtual std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) = 0;
};

} // namespace quoxelin
