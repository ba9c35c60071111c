#pragma once

#include <string>

namespace quoxelin {

/// The system's own log. Any thread; the text is never redacted.
class SystemLog {
  public:
    virtual ~SystemLog() = default;

    /// One entry at the default level of the system's default log.
    virtual void log(const std::string& text) = 0;

    /// One entry of a subsystem's category.
    virtual void log(const std::string& subsystem, const std::string& category,
                     const std::string& text) = 0;
};

} // namespace quoxelin
