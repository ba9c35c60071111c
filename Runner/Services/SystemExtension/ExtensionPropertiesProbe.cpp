#include "Runner/Services/SystemExtension/ExtensionPropertiesProbe.h"

#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/Uuid.h"

#include <algorithm>
#include <utility>

namespace quoxelin {

ExtensionPropertiesProbe::ExtensionPropertiesProbe(AppLogger& logger, std::string identifier)
    : id(freshUuid()), identifier(std::move(identifier)), logger(logger) {}

void ExtensionPropertiesProbe::finish(bool installed) {
    if (const auto once = std::exchange(onFinish, nullptr))
        once(installed);
}

void ExtensionPropertiesProbe::foundProperties(
    const OSSystemExtensionRequest&, const std::vector<OSSystemExtensionProperties>& properties) {
    finish(std::any_of(properties.begin(), properties.end(), [this](const auto& one) {
        return one.bundleIdentifier == identifier && one.isEnabled && !one.isAwaitingUserApproval;
    }));
}

void ExtensionPropertiesProbe::didFailWithError(const OSSystemExtensionRequest&,
                                                const Error& error) {
    logger.log("SysExt", "Properties request failed: " + error.localizedDescription);
    finish(false);
}

OSSystemExtensionReplacementAction
ExtensionPropertiesProbe::actionForReplacingExtension(const OSSystemExtensionRequest&,
                                                      const OSSystemExtensionProperties&,
                                                      const OSSystemExtensionProperties&) {
    return OSSystemExtensionReplacementAction::cancel;
}

void ExtensionPropertiesProbe::requestNeedsUserApproval(const OSSystemExtensionRequest&) {}

void ExtensionPropertiesProbe::didFinishWithResult(const OSSystemExtensionRequest&, int) {}

} // namespace quoxelin
