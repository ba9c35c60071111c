#pragma once

#include <string>

namespace quoxelin {

class UNUserNotificationCenter;

/// Posts local user notifications.
class NotificationHelper {
  public:
    /// Shows a notification at once, after asking for permission where there is none yet. It is
    /// handed over in any case; the system drops what the user does not allow. Any thread.
    static void show(UNUserNotificationCenter& center, const std::string& title,
                     const std::string& body);
};

} // namespace quoxelin
