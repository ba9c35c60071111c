#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct StageLog* os_log_t;

os_log_t os_log_create(const char* subsystem, const char* category);
/// Writes the public arguments to standard error.
void os_log(os_log_t log, const char* format, ...);

#ifdef __cplusplus
}
#endif

#define OS_LOG_DEFAULT ((os_log_t)0)
