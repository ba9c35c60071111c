#pragma once

#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/UserNotifications.h"

#include <QObject>
#include <map>
#include <mutex>

namespace quoxelin {

/// Notifications are allowed while the desktop has a notification server. Without one they are
/// denied and dropped. Callable from any thread; completions run on the main thread, where this is
/// created.
///
/// A desktop shows notifications whether or not their application is in front, so the delegate is
/// always asked how to show each one, as if the application were in front.
class DBusNotifications final : public QObject, public UNUserNotificationCenter {
  public:
    /// The session bus must outlive this object.
    explicit DBusNotifications(Bus& bus);

    void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override;
    void getNotificationSettings(std::function<void(UNNotificationSettings)> completion) override;
    void requestAuthorization(unsigned options,
                              std::function<void(bool, std::optional<Error>)> completion) override;
    void add(const UNNotificationRequest& request) override;

  private:
    void present(const UNNotificationRequest& request);
    void deliver(const UNNotificationRequest& request, bool sound);
    void notify(const UNNotificationRequest& request, bool sound, bool bodyIsMarkup);

    Bus& bus;
    ServicePresence server;
    /// Queries of the server's capabilities, one for each waiting notification.
    std::map<unsigned, Subscription> questions;
    unsigned questionCount = 0;
    std::mutex mutex;
    std::weak_ptr<UNUserNotificationCenterDelegate> delegate;
};

} // namespace quoxelin
