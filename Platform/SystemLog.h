#pragma once

#include <string>

namespace quoxelin {

/// The system log. Any thread. Texts are never redacted.
class SystemLog {
  public:
    virtual ~SystemLog() = default;

    /// Writes an entry at the default level of the system's default log.
    virtual void log(const std::string& text) = 0;

    /// Writes an entry to a category of a subsystem.
    virtual void log(const std::string& subsystem, const std::string& category,
                     const std::string& text) = 0;
};

} // namespace quoxelin
