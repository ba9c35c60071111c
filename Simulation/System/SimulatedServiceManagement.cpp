#include "Simulation/System/SimulatedServiceManagement.h"

namespace quoxelin {

namespace {

/// The application's object, which only refers to the registration.
class Service final : public SMAppService {
  public:
    explicit Service(SimulatedServiceManagement::Registration& registration)
        : registration(registration) {}

    void registerService(Completion<void, Error> completion) override {
        completion(registration.registerService());
    }
    Result<void, Error> unregisterService() override { return registration.unregisterService(); }
    void status(std::function<void(int)> completion) override { completion(registration.status()); }

  private:
    SimulatedServiceManagement::Registration& registration;
};

Error serviceError(std::int64_t code, const std::string& description) {
    return {"SMAppServiceErrorDomain", code, description};
}

} // namespace

Result<void, Error> SimulatedServiceManagement::Registration::registerService() {
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

Result<void, Error> SimulatedServiceManagement::Registration::unregisterService() {
    ++unregistered;
    if (unregistrationError)
        return tl::unexpected(*unregistrationError);
    if (current == SMAppServiceStatus::notRegistered)
        return tl::unexpected(serviceError(6, "Job not found"));
    setStatus(SMAppServiceStatus::notRegistered);
    return {};
}

void SimulatedServiceManagement::Registration::approve() {
    approvalRequired = false;
    if (current == SMAppServiceStatus::requiresApproval)
        setStatus(SMAppServiceStatus::enabled);
}

void SimulatedServiceManagement::Registration::revoke() {
    approvalRequired = true;
    if (current == SMAppServiceStatus::enabled)
        setStatus(SMAppServiceStatus::requiresApproval);
}

void SimulatedServiceManagement::Registration::setStatus(SMAppServiceStatus status) {
    current = status;
    if (onChange)
        onChange(status);
}

std::unique_ptr<SMAppService> SimulatedServiceManagement::mainApp() {
    return std::make_unique<Service>(loginItem);
}

std::unique_ptr<SMAppService> SimulatedServiceManagement::daemon(const std::string& plistName) {
    return std::make_unique<Service>(daemons[plistName]);
}

} // namespace quoxelin
