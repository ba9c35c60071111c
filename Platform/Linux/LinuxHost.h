#pragma once

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/FolderBundle.h"
#include "Platform/Linux/IniUserDefaults.h"
#include "Platform/Linux/OsReleaseProcessInfo.h"
#include "Platform/Linux/Services/DBusHelper.h"
#include "Platform/Linux/Services/DBusNotifications.h"
#include "Platform/Linux/Services/MissingServices.h"
#include "Platform/Linux/Services/NetworkManagerPlugin.h"
#include "Platform/Linux/Services/NetworkManagerVPN.h"
#include "Platform/Linux/Services/PackageKitUpdates.h"
#include "Platform/Linux/Services/PkexecScripts.h"
#include "Platform/Linux/Services/SingleInstance.h"
#include "Platform/Linux/Services/StartedServices.h"
#include "Platform/Platform.h"

namespace quoxelin {

/// The desktop and the services that the application runs on. Ensures a single instance per
/// session.
class LinuxHost final : public PlatformHost {
  public:
    explicit LinuxHost(const LaunchOptions& options);

    const Platform& platform() const override { return services; }
    void observeMissingServices(std::function<void(const std::string& line)> observer) override;
    void settle() override;

    /// Refuses a start that was handed to a running instance, or that a running instance did not
    /// answer.
    std::optional<LaunchRefusal> refusal(const LaunchOptions& options);

  private:
    Platform compose(const LaunchOptions& options);

    Desktop desktop;
    Bus& sessionBus = desktop.sessionBus;
    Bus systemBus{Bus::systemAddress()};
    SingleInstance singleInstance;
    FolderBundle mainBundle{FolderBundle::rootOfThisProgram()};
    IniUserDefaults userDefaults{IniUserDefaults::standardFile()};
    OsReleaseProcessInfo processInfo;
    NetworkManagerVPN networkExtension{desktop.notificationCenter, systemBus};
    NetworkManagerPlugin systemExtensions;
    DBusHelper helper{desktop.dispatch, systemBus};
    StartedServices serviceManagement{mainBundle.bundleURL(), systemBus, helper.presence()};
    DBusNotifications userNotificationCenter{sessionBus};
    PackageKitUpdates updates{systemBus};
    PkexecScripts appleScript;
    std::unique_ptr<MissingServices> missingServices;
    Platform services;
};

} // namespace quoxelin
