#pragma once

#include "Platform/SystemExtensions.h"

#include <functional>
#include <string>
#include <vector>

namespace quoxelin {

class AppLogger;

/// Asks the system once whether an extension is installed and usable: the delegate of one
/// properties request. Main thread only.
class ExtensionPropertiesProbe final : public OSSystemExtensionRequestDelegate {
  public:
    ExtensionPropertiesProbe(AppLogger& logger, std::string identifier);

    /// Tells the probe apart from others for the same extension.
    const std::string id;
    /// Receives the answer, at most once: the first of result, failure and time-out counts.
    std::function<void(bool installed)> onFinish;
    /// The extension that is looked for.
    const std::string identifier;

    /// Takes an answer from elsewhere; does nothing when there has been one.
    void finish(bool installed);

    void foundProperties(const OSSystemExtensionRequest& request,
                         const std::vector<OSSystemExtensionProperties>& properties) override;
    void didFailWithError(const OSSystemExtensionRequest& request, const Error& error) override;

    /// The rest never happens to a request that changes nothing.
    OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest& request,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) override;
    void requestNeedsUserApproval(const OSSystemExtensionRequest& request) override;
    void didFinishWithResult(const OSSystemExtensionRequest& request, int result) override;

  private:
    AppLogger& logger;
};

} // namespace quoxelin
