#pragma once

#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/UserNotifications.h"

#include <QObject>
#include <map>
#include <mutex>

namespace quoxelin {

/// The desktop's notification server, as long as there is one: then notifications are allowed, and
/// while there is none they are denied and dropped. Any thread; completions come on the main
/// thread, on which it is made.
///
/// A desktop shows notifications whether or not their application is in front, so the delegate is
/// always asked how one is to be shown, as if the application were in front.
class DBusNotifications final : public QObject, public UNUserNotificationCenter {
  public:
    /// The session's bus, which lives longer.
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
    /// Questions about what the server can show, one for each notification that waits.
    std::map<unsigned, Subscription> questions;
    unsigned questionCount = 0;
    std::mutex mutex;
    std::weak_ptr<UNUserNotificationCenterDelegate> delegate;
};

} // namespace quoxelin
