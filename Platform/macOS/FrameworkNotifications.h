#pragma once

#import <Foundation/Foundation.h>
#include <functional>

namespace quoxelin {

/// Observes notifications of the frameworks from any sender, on the main thread, as long as it
/// lives.
class FrameworkNotifications {
  public:
    FrameworkNotifications() = default;
    FrameworkNotifications(const FrameworkNotifications&) = delete;
    FrameworkNotifications& operator=(const FrameworkNotifications&) = delete;
    ~FrameworkNotifications();

    void observe(NSNotificationName name, std::function<void()> handler);

  private:
    NSMutableArray<id>* tokens = [NSMutableArray array];
};

} // namespace quoxelin
