#include "Platform/macOS/FrameworkNotifications.h"

namespace quoxelin {

FrameworkNotifications::~FrameworkNotifications() {
    for (id token in tokens)
        [[NSNotificationCenter defaultCenter] removeObserver:token];
}

/// For a notification posted on the main thread, the handler runs before the post returns.
void FrameworkNotifications::observe(NSNotificationName name, std::function<void()> handler) {
    __weak NSMutableArray<id>* const observing = tokens;
    const auto handle = ^{
        if (observing != nil)
            handler();
    };
    const auto observed = ^(NSNotification*) {
        if ([NSThread isMainThread])
            handle();
        else
            dispatch_async(dispatch_get_main_queue(), handle);
    };
    [tokens addObject:[[NSNotificationCenter defaultCenter] addObserverForName:name
                                                                        object:nil
                                                                         queue:nil
                                                                    usingBlock:observed]];
}

} // namespace quoxelin
