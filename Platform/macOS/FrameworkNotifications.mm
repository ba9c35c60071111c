#include "Platform/macOS/FrameworkNotifications.h"

namespace quoxelin {

FrameworkNotifications::~FrameworkNotifications() {
    for (id token in tokens)
        [[NSNotificationCenter defaultCenter] removeObserver:token];
}

void FrameworkNotifications::observe(NSNotificationName name, std::function<void()> handler) {
    id token = [[NSNotificationCenter defaultCenter] addObserverForName:name
                                                                 object:nil
                                                                  queue:[NSOperationQueue mainQueue]
                                                             usingBlock:^(NSNotification*) {
                                                                 handler();
                                                             }];
    [tokens addObject:token];
}

} // namespace quoxelin
