#pragma once

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/LinuxBundle.h"
#include "Platform/Linux/LinuxProcessInfo.h"
#include "Platform/Linux/LinuxUserDefaults.h"
#include "Platform/Linux/Services/LinuxAppleScript.h"
#include "Platform/Linux/Services/LinuxNetworkExtension.h"
#include "Platform/Linux/Services/LinuxServiceManagement.h"
#include "Platform/Linux/Services/LinuxSystemExtensions.h"
#include "Platform/Linux/Services/LinuxUpdates.h"
#include "Platform/Linux/Services/LinuxUserNotificationCenter.h"
#include "Platform/Linux/Services/LinuxXPC.h"
#include "Platform/Linux/Services/MissingServices.h"
#include "Platform/Linux/Services/SingleInstance.h"
#include "Platform/Platform.h"

namespace quoxelin {

/// The machine that the application runs on: its desktop, its services, and the session that it is
/// the only one of its kind in.
class LinuxHost final : public PlatformHost {
  public:
    explicit LinuxHost(const LaunchOptions& options);

    const Platform& platform() const override { return services; }
    void observeMissingServices(std::function<void(const std::string& line)> observer) override;
    void settle() override;

    /// The refusal of a start that another process has been told of, or that it does not answer to.
    std::optional<LaunchRefusal> refusal(const LaunchOptions& options);

  private:
    Platform compose(const LaunchOptions& options);
    void comeToTheFront();

    Desktop desktop;
    MessageBus sessionBus{MessageBus::sessionAddress()};
    MessageBus systemBus{MessageBus::systemAddress()};
    SingleInstance singleInstance;
    LinuxBundle mainBundle{LinuxBundle::rootOfThisProgram()};
    LinuxUserDefaults userDefaults{LinuxUserDefaults::standardFile()};
    LinuxProcessInfo processInfo;
    LinuxNetworkExtension networkExtension{desktop.notificationCenter, systemBus};
    LinuxSystemExtensions systemExtensions;
    LinuxServiceManagement serviceManagement{mainBundle.bundleURL()};
    LinuxXPC xpc{desktop.dispatch};
    LinuxUserNotificationCenter userNotificationCenter{sessionBus};
    LinuxUpdates updates{systemBus};
    LinuxAppleScript appleScript;
    std::unique_ptr<MissingServices> missingServices;
    Platform services;
};

} // namespace quoxelin
