#pragma once

#include <string>

namespace quoxelin {

class UNUserNotificationCenter;

/// Posts local user notifications.
class NotificationHelper {
  public:
    /// Shows a notification at once, after asking for permission if necessary. The system drops it
    /// if the user does not allow notifications. Any thread.
    static void show(UNUserNotificationCenter& center, const std::string& title,
                     const std::string& body);
};

} // namespace quoxelin
