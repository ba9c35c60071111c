#pragma once

#import <Foundation/Foundation.h>
#include <functional>

namespace quoxelin {

/// Observes framework notifications from any sender until destroyed. Handlers run on the main
/// thread.
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
