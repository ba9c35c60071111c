#pragma once

#include "Platform/ServiceManagement.h"

#include <functional>
#include <map>
#include <optional>

namespace quoxelin {

/// The services that the system starts for the application, and the user who allows them. Main
/// thread only.
class SimulatedServiceManagement final : public ServiceManagement {
  public:
    /// The system's record of one service. Outlives the application's objects.
    class Registration {
      public:
        int status() const { return static_cast<int>(current); }
        Result<void, Error> registerService();
        Result<void, Error> unregisterService();

        /// From now on registering fails with "Operation not permitted", and the status is
        /// `requiresApproval` until the user allows the service.
        void requireApproval() { approvalRequired = true; }

        /// The user allows the service in the settings. Enables it if it is registered.
        void approve();

        /// The user switches it off in the settings.
        void revoke();

        /// If set, registering or unregistering fails with the error and changes nothing.
        void failRegistration(std::optional<Error> error) { registrationError = std::move(error); }
        void failUnregistration(std::optional<Error> error) {
            unregistrationError = std::move(error);
        }

        /// Sets the status directly.
        void setStatus(SMAppServiceStatus status);

        /// The number of calls.
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
