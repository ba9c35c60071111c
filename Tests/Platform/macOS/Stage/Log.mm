#include <os/log.h>

#include <cstdarg>
#include <cstdio>

struct StageLog {
    NSString* name;
};

os_log_t os_log_create(const char* subsystem, const char* category) {
    static NSMutableDictionary<NSString*, NSValue*>* const all = [NSMutableDictionary dictionary];
    NSString* const name = [NSString stringWithFormat:@"%s:%s", subsystem, category];
    @synchronized(all) {
        if (all[name] == nil)
            all[name] = [NSValue valueWithPointer:new StageLog{name}];
        return static_cast<os_log_t>(all[name].pointerValue);
    }
}

/// Like the real function, leaves no autoreleased objects.
void os_log(os_log_t log, const char* format, ...) {
    @autoreleasepool {
        NSString* const plain =
            [[NSString stringWithUTF8String:format] stringByReplacingOccurrencesOfString:@"{public}"
                                                                              withString:@""];
        va_list arguments;
        va_start(arguments, format);
        NSString* const text = [[NSString alloc] initWithFormat:plain arguments:arguments];
        va_end(arguments);
        std::fprintf(stderr, "os_log %s: %s\n", log != nullptr ? log->name.UTF8String : "-",
                     text.UTF8String);
    }
}
