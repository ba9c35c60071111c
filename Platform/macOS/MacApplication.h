#pragma once

#include "Platform/NSApplication.h"

#include <memory>

namespace quoxelin {

class FrameworkNotifications;
class NotificationCenter;

/// AppKit's application object, as an accessory: without a Dock icon.
class MacApplication final : public NSApplication {
  public:
    /// Posts to the notification center when the application becomes active.
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
