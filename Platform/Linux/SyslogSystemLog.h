#pragma once

#include "Platform/SystemLog.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace quoxelin {

/// Sends entries to the system's log service with the user facility. syslog(3) would block for as
/// long as the service does not read; this waits a moment for it, once, and then drops entries
/// until it reads again.
class SyslogSystemLog final : public SystemLog {
  public:
    explicit SyslogSystemLog(std::string socketPath = "/dev/log");
    SyslogSystemLog(const SyslogSystemLog&) = delete;
    SyslogSystemLog& operator=(const SyslogSystemLog&) = delete;
    ~SyslogSystemLog() override;

    void log(const std::string& text) override;
    void log(const std::string& subsystem, const std::string& category,
             const std::string& text) override;

  private:
    void send(std::string_view text);

    const std::string socketPath;
    const int descriptor;
    std::atomic<bool> isRead = true;
};

} // namespace quoxelin
