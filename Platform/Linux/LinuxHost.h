#pragma once

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/LinuxBundle.h"
#include "Platform/Linux/LinuxProcessInfo.h"
#include "Platform/Linux/LinuxUserDefaults.h"
#include "Platform/Linux/Services/DBusHelper.h"
#include "Platform/Linux/Services/LinuxAppleScript.h"
#include "Platform/Linux/Services/LinuxNetworkExtension.h"
#include "Platform/Linux/Services/LinuxSystemExtensions.h"
#include "Platform/Linux/Services/LinuxUpdates.h"
#include "Platform/Linux/Services/LinuxUserNotificationCenter.h"
#include "Platform/Linux/Services/MissingServices.h"
#include "Platform/Linux/Services/SingleInstance.h"
#include "Platform/Linux/Services/StartedServices.h"
#include "Platform/Platform.h"

namespace quoxelin {

/// The machine that the application runs on: its desktop and its services. Ensures that there is
/// one instance in a session.
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
    Bus& sessionBus = desktop.sessionBus;
    Bus systemBus{Bus::systemAddress()};
    SingleInstance singleInstance;
    LinuxBundle mainBundle{LinuxBundle::rootOfThisProgram()};
    LinuxUserDefaults userDefaults{LinuxUserDefaults::standardFile()};
    LinuxProcessInfo processInfo;
    LinuxNetworkExtension networkExtension{desktop.notificationCenter, systemBus};
    LinuxSystemExtensions systemExtensions;
    DBusHelper helper{desktop.dispatch, systemBus};
    StartedServices serviceManagement{mainBundle.bundleURL(), systemBus, helper.presence()};
    LinuxUserNotificationCenter userNotificationCenter{sessionBus};
    LinuxUpdates updates{systemBus};
    LinuxAppleScript appleScript;
    std::unique_ptr<MissingServices> missingServices;
    Platform services;
};

} // namespace quoxelin
