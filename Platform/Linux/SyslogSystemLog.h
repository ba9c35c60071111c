#pragma once

#include "Platform/SystemLog.h"

namespace quoxelin {

/// Writes to syslog with the user facility.
class SyslogSystemLog final : public SystemLog {
  public:
    SyslogSystemLog();
    void log(const std::string& text) override;
    void log(const std::string& subsystem, const std::string& category,
             const std::string& text) override;
};

} // namespace quoxelin
