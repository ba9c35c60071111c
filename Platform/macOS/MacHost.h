#pragma once

#include "Platform/Platform.h"
#include "Platform/macOS/MacAppleScript.h"
#include "Platform/macOS/MacDesktop.h"
#include "Platform/macOS/MacNetworkExtension.h"
#include "Platform/macOS/MacServiceManagement.h"
#include "Platform/macOS/MacSystemExtensions.h"
#include "Platform/macOS/MacUpdater.h"
#include "Platform/macOS/MacUserNotifications.h"
#include "Platform/macOS/MacXPC.h"

namespace quoxelin {

/// The desktop and the services of the Mac.
class MacHost final : public PlatformHost {
  public:
    explicit MacHost(const LaunchOptions& options);

    const Platform& platform() const override { return services; }
    void observeMissingServices(std::function<void(const std::string& line)> observer) override;
    void settle() override;

  private:
    MacDesktop desktop;
    MacBundle mainBundle;
    MacUserDefaults userDefaults;
    MacProcessInfo processInfo;
    MacNetworkExtension networkExtension{desktop.notificationCenter};
    MacSystemExtensions systemExtensions;
    MacServiceManagement serviceManagement;
    MacXPC xpc;
    MacUserNotificationCenter userNotificationCenter;
    MacUpdates updates{mainBundle};
    MacAppleScript appleScript;
    Platform services;
};

} // namespace quoxelin
