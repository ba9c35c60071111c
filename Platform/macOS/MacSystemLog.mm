#include "Platform/macOS/MacSystemLog.h"

#include "Platform/macOS/ObjC.h"

#include <os/log.h>

namespace quoxelin {

// Work that never ends logs as well: what a line leaves behind goes with it.

void MacSystemLog::log(const std::string& text) {
    @autoreleasepool {
        os_log(OS_LOG_DEFAULT, "%{public}@", toNSString(text));
    }
}

/// The system keeps one log for each pair of names, however often it is asked for.
void MacSystemLog::log(const std::string& subsystem, const std::string& category,
                       const std::string& text) {
    @autoreleasepool {
        os_log(os_log_create(subsystem.c_str(), category.c_str()), "%{public}@", toNSString(text));
    }
}

} // namespace quoxelin
