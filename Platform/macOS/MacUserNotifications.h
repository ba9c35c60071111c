#pragma once

#include "Platform/UserNotifications.h"

namespace quoxelin {

class MacUserNotificationCenter final : public UNUserNotificationCenter {
  public:
    void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override;
    void getNotificationSettings(std::function<void(UNNotificationSettings)> completion) override;
    void requestAuthorization(
        unsigned options,
        std::function<void(bool granted, std::optional<Error>)> completion) override;
    void add(const UNNotificationRequest& request) override;
};

} // namespace quoxelin
