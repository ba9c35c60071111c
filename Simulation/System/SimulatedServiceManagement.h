#pragma once

#include "Platform/ServiceManagement.h"

#include <functional>
#include <map>
#include <optional>

namespace quoxelin {

/// The services that the system starts for an application, and the user who allows them. Main
/// thread only.
class SimulatedServiceManagement final : public ServiceManagement {
  public:
    /// What the system keeps of one service. It outlives the application's objects.
    class Registration {
      public:
        int status() const { return static_cast<int>(current); }
        Result<void, Error> registerService();
        Result<void, Error> unregisterService();

        /// From now on registering only asks: the status becomes `requiresApproval`, and the call
        /// fails with "Operation not permitted", until a user allows the service.
        void requireApproval() { approvalRequired = true; }

        /// A user allows the service in the system's settings; an asked-for one is enabled.
        void approve();

        /// A user switches it off in the system's settings.
        void revoke();

        /// Registering (unregistering) fails with the error and changes nothing; none: it works.
        void failRegistration(std::optional<Error> error) { registrationError = std::move(error); }
        void failUnregistration(std::optional<Error> error) {
            unregistrationError = std::move(error);
        }

        /// A raw status, whatever happened before.
        void setStatus(SMAppServiceStatus status);

        /// How often the application asked for it.
        int registrations() const { return registered; }
        int unregistrations() const { return unregistered; }

        /// Called after every change of the status.
        std::function<void(SMAppServiceStatus)> onChange;

      private:
        SMAppServiceStatus current = SMAppServiceStatus::notRegistered;
        bool approvalRequired = false;
        std::optional<Error> registrationError;
        std::optional<Error> unregistrationError;
        int registered = 0;
        int unregistered = 0;
    };

    std::unique_ptr<SMAppService> mainApp() override;
    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override;

    Registration& mainAppRegistration() { return loginItem; }
    Registration& daemonRegistration(const std::string& plistName) { return daemons[plistName]; }

  private:
    Registration loginItem;
    std::map<std::string, Registration> daemons;
};

} // namespace quoxelin
