#include "Runner/Views/NotificationHelper.h"

#include "Platform/UserNotifications.h"
#include "Runner/Shared/Uuid.h"

namespace quoxelin {

void NotificationHelper::show(UNUserNotificationCenter& center, const std::string& title,
                              const std::string& body) {
    center.getNotificationSettings([&center, title, body](const UNNotificationSettings& settings) {
        if (settings.authorizationStatus != static_cast<int>(UNAuthorizationStatus::authorized)) {
            center.requestAuthorization(UNAuthorizationOptionAlert | UNAuthorizationOptionSound |
                                            UNAuthorizationOptionBadge,
                                        [](bool, const std::optional<Error>&) {});
        }
        UNNotificationRequest request;
        request.identifier = freshUuid();
        request.title = title;
        request.body = body;
        center.add(request);
    });
}

} // namespace quoxelin
