#include "Platform/macOS/MacSystemLog.h"

#include "Platform/macOS/ObjC.h"

#include <os/log.h>

namespace quoxelin {

// Long-running work logs too, so each line drains its autoreleased objects.

void MacSystemLog::log(const std::string& text) {
    @autoreleasepool {
        os_log(OS_LOG_DEFAULT, "%{public}@", toNSString(text));
    }
}

/// The system caches the log object for each subsystem and category.
void MacSystemLog::log(const std::string& subsystem, const std::string& category,
                       const std::string& text) {
    @autoreleasepool {
        os_log(os_log_create(subsystem.c_str(), category.c_str()), "%{public}@", toNSString(text));
    }
}

} // namespace quoxelin
