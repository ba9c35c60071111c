#include "Platform/macOS/MacServiceManagement.h"

#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/SMAppServiceDeclaration.h"

namespace quoxelin {

namespace {

class Service final : public SMAppService {
  public:
    explicit Service(::SMAppService* service) : service(service) {}

    void registerService(Completion<void, Error> completion) override {
        completion(
            withError([&](NSError** error) { return [service registerAndReturnError:error]; }));
    }

    Result<void, Error> unregisterService() override {
        return withError([&](NSError** error) { return [service unregisterAndReturnError:error]; });
    }

    void status(std::function<void(int)> completion) override {
        completion(static_cast<int>(service.status));
    }

  private:
    ::SMAppService* service;
};

} // namespace

std::unique_ptr<SMAppService> MacServiceManagement::mainApp() {
    return std::make_unique<Service>([::SMAppService mainAppService]);
}

std::unique_ptr<SMAppService> MacServiceManagement::daemon(const std::string& plistName) {
    return std::make_unique<Service>(
        [::SMAppService daemonServiceWithPlistName:toNSString(plistName)]);
}

} // namespace quoxelin
