#pragma once

#include "Platform/SystemExtensions.h"

#include <functional>
#include <string>
#include <vector>

namespace quoxelin {

class AppLogger;

/// Asks the system once whether an extension is installed and usable. The delegate of one
/// properties request. Main thread only.
class ExtensionPropertiesProbe final : public OSSystemExtensionRequestDelegate {
  public:
    ExtensionPropertiesProbe(AppLogger& logger, std::string identifier);

    /// Distinguishes probes for the same extension.
    const std::string id;
    /// Called at most once: with the first result, failure or time-out.
    std::function<void(bool installed)> onFinish;
    /// The extension's bundle identifier.
    const std::string identifier;

    /// Reports an answer from outside. Does nothing after the first answer.
    void finish(bool installed);

    void foundProperties(const OSSystemExtensionRequest& request,
                         const std::vector<OSSystemExtensionProperties>& properties) override;
    void didFailWithError(const OSSystemExtensionRequest& request, const Error& error) override;

    /// None of these is called for a properties request.
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
