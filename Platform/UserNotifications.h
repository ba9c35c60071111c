#pragma once

#include "Base/Error.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

// The UserNotifications framework. Any thread; completions may come on any thread.

/// The framework's raw values. A platform may report others.
enum class UNAuthorizationStatus : int {
    notDetermined = 0,
    denied = 1,
    authorized = 2,
    provisional = 3,
};

/// Option sets, combined with bitwise or.
inline constexpr unsigned UNAuthorizationOptionBadge = 1;
inline constexpr unsigned UNAuthorizationOptionSound = 2;
inline constexpr unsigned UNAuthorizationOptionAlert = 4;

inline constexpr unsigned UNNotificationPresentationOptionSound = 2;
inline constexpr unsigned UNNotificationPresentationOptionBanner = 16;

struct UNNotificationSettings {
    /// A raw `UNAuthorizationStatus`.
    int authorizationStatus = 0;
};

/// A notification without a trigger, delivered at once.
struct UNNotificationRequest {
    std::string identifier;
    std::string title;
    std::string body;
    bool defaultSound = false;
};

class UNUserNotificationCenterDelegate {
  public:
    virtual ~UNUserNotificationCenterDelegate() = default;

    /// A notification arrives while the application is in front. The presentation options decide
    /// how it is shown. Main thread.
    virtual void willPresent(const UNNotificationRequest& notification,
                             std::function<void(unsigned options)> completionHandler) = 0;
};

class UNUserNotificationCenter {
  public:
    virtual ~UNUserNotificationCenter() = default;

    /// Keeps a weak reference.
    virtual void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) = 0;

    virtual void
    getNotificationSettings(std::function<void(UNNotificationSettings)> completion) = 0;

    /// Asks the user, unless the user has already answered.
    virtual void
    requestAuthorization(unsigned options,
                         std::function<void(bool granted, std::optional<Error>)> completion) = 0;

    /// Delivers the notification. Drops it silently if the user does not allow notifications.
    virtual void add(const UNNotificationRequest& request) = 0;
};

} // namespace quoxelin
