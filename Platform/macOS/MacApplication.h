#pragma once

#include "Platform/NSApplication.h"

#include <memory>

namespace quoxelin {

class FrameworkNotifications;
class NotificationCenter;

/// The application object of AppKit, an accessory without a place in the Dock.
class MacApplication final : public NSApplication {
  public:
    /// Tells the notification centre when the application comes to the front.
    explicit MacApplication(NotificationCenter& notificationCenter);
    ~MacApplication() override;

    int run(NSApplicationDelegate& delegate) override;
    void terminate() override;
    void activateIgnoringOtherApps() override;
    void setMainMenu(const std::vector<NSMenuItem>& submenu) override;

  private:
    std::unique_ptr<FrameworkNotifications> notifications;
};

} // namespace quoxelin
