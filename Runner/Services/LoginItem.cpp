#include "Runner/Services/LoginItem.h"

#include "Platform/Foundation.h"
#include "Platform/ServiceManagement.h"

namespace quoxelin {

namespace {
constexpr const char* registeredBuildKey = "loginItemRegisteredBuild";
}

void LoginItem::registerIfNeeded(NSUserDefaults& defaults, const std::optional<std::string>& build,
                                 SMAppService& mainApp, std::function<void(Outcome)> completion) {
    if (build && defaults.string(registeredBuildKey) == build)
        return completion(Registration::alreadyRegistered);
    mainApp.registerService([&defaults, build, completion = std::move(completion)](
                                const Result<void, Error>& registered) {
        if (!registered)
            return completion(tl::unexpected(registered.error()));
        if (build)
            defaults.set(registeredBuildKey, *build);
        completion(Registration::registered);
    });
}

void LoginItem::unregister(NSUserDefaults& defaults, SMAppService& mainApp) {
    // Fails if the application was never a login item; nothing is left to do then.
    static_cast<void>(mainApp.unregisterService());
    defaults.removeObject(registeredBuildKey);
    // Remove the key written by older versions.
    defaults.removeObject("loginItemRegistered");
}

} // namespace quoxelin
