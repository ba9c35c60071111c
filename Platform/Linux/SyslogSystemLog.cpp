#include "Platform/Linux/SyslogSystemLog.h"

#include <syslog.h>

namespace quoxelin {

SyslogSystemLog::SyslogSystemLog() {
    ::openlog("quoxelin-desktop", LOG_PID, LOG_USER);
}

void SyslogSystemLog::log(const std::string& text) {
    ::syslog(LOG_NOTICE, "%s", text.c_str());
}

void SyslogSystemLog::log(const std::string& subsystem, const std::string& category,
                          const std::string& text) {
    ::syslog(LOG_NOTICE, "%s:%s: %s", subsystem.c_str(), category.c_str(), text.c_str());
}

} // namespace quoxelin
