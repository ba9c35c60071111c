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

        Result<void, Error> registerService() {
            ++registered;
            if (registrationError)
                return tl::unexpected(*registrationError);
            if (current == SMAppServiceStatus::enabled)
                return {};
            if (approvalRequired) {
                setStatus(SMAppServiceStatus::requiresApproval);
                return tl::unexpected(serviceError(1, "Operation not permitted"));
            }
            setStatus(SMAppServiceStatus::enabled);
            return {};
        }

        Result<void, Error> unregisterService() {
            ++unregistered;
            if (unregistrationError)
                return tl::unexpected(*unregistrationError);
            if (current == SMAppServiceStatus::notRegistered)
                return tl::unexpected(serviceError(6, "Job not found"));
            setStatus(SMAppServiceStatus::notRegistered);
            return {};
        }

        /// From now on registering fails with "Operation not permitted", and the status is
        /// `requiresApproval` until the user allows the service.
        void requireApproval() { approvalRequired = true; }

        /// The user allows the service in the settings. Enables it if it is registered.
        void approve() {
            approvalRequired = false;
            if (current == SMAppServiceStatus::requiresApproval)
                setStatus(SMAppServiceStatus::enabled);
        }

        /// The user switches it off in the settings.
        void revoke() {
            approvalRequired = true;
            if (current == SMAppServiceStatus::enabled)
                setStatus(SMAppServiceStatus::requiresApproval);
        }

        /// If set, registering or unregistering fails with the error and changes nothing.
        void failRegistration(std::optional<Error> error) { registrationError = std::move(error); }
        void failUnregistration(std::optional<Error> error) {
            unregistrationError = std::move(error);
        }

        /// Sets the status directly.
        void setStatus(SMAppServiceStatus status) {
            current = status;
            if (onChange)
                onChange(status);
        }

        /// The number of calls.
        int registrations() const { return registered; }
        int unregistrations() const { return unregistered; }

        /// Called after every change of the status.
        std::function<void(SMAppServiceStatus)> onChange;

      private:
        static Error serviceError(std::int64_t code, const std::string& description) {
            return {"SMAppServiceErrorDomain", code, description};
        }

        SMAppServiceStatus current = SMAppServiceStatus::notRegistered;
        bool approvalRequired = false;
        std::optional<Error> registrationError;
        std::optional<Error> unregistrationError;
        int registered = 0;
        int unregistered = 0;
    };

    std::unique_ptr<SMAppService> mainApp() override {
        return std::make_unique<Service>(loginItem);
    }
    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override {
        return std::make_unique<Service>(daemons[plistName]);
    }

    Registration& mainAppRegistration() { return loginItem; }
    Registration& daemonRegistration(const std::string& plistName) { return daemons[plistName]; }

  private:
    /// The application's object, which only refers to the registration.
    struct Service final : SMAppService {
        explicit Service(Registration& registration) : registration(registration) {}
        void registerService(Completion<void, Error> completion) override {
            completion(registration.registerService());
        }
        Result<void, Error> unregisterService() override {
            return registration.unregisterService();
        }
        void status(std::function<void(int)> completion) override {
            completion(registration.status());
        }
        Registration& registration;
    };

    Registration loginItem;
    std::map<std::string, Registration> daemons;
};

} // namespace quoxelin
