#pragma once

#include "Platform/Linux/Services/DBusHelperService.h"
#include "Platform/Linux/Services/XdgAutostart.h"

namespace quoxelin {

/// What the desktop and the system bus start for the application.
class StartedServices final : public ServiceManagement {
  public:
    /// The system bus and the helper's presence on it must outlive this object.
    StartedServices(std::filesystem::path bundle, Bus& bus, ServicePresence& helper)
        : bundle(std::move(bundle)), bus(bus), helper(helper) {}

    std::unique_ptr<SMAppService> mainApp() override {
        return std::make_unique<XdgAutostart>(bundle);
    }

    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override {
        const bool isKnown = plistName == "com.quoxelin.desktop.helper.plist";
        return std::make_unique<DBusHelperService>(bus, helper, isKnown);
    }

  private:
    const std::filesystem::path bundle;
    Bus& bus;
    ServicePresence& helper;
};

} // namespace quoxelin
