#include "Runner/Services/LoginItem.h"

#include "Platform/Foundation.h"
#include "Platform/ServiceManagement.h"

namespace quoxelin {

namespace {
constexpr const char* registeredBuildKey = "loginItemRegisteredBuild";
}

LoginItem::Outcome
LoginItem::registerIfNeeded(NSUserDefaults& defaults, const std::optional<std::string>& build,
                            const std::function<Result<void, Error>()>& registerAction) {
    if (build && defaults.string(registeredBuildKey) == build)
        return Registration::alreadyRegistered;
    if (const auto registered = registerAction(); !registered)
        return tl::unexpected(registered.error());
    if (build)
        defaults.set(registeredBuildKey, *build);
    return Registration::registered;
}

void LoginItem::unregister(NSUserDefaults& defaults, SMAppService& mainApp) {
    // Fails if the application was never a login item; nothing is left to do then.
    static_cast<void>(mainApp.unregisterService());
    defaults.removeObject(registeredBuildKey);
    // Remove the key written by older versions.
    defaults.removeObject("loginItemRegistered");
}

} // namespace quoxelin
