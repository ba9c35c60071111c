#pragma once

#include "Base/MainThread.h"
#include "Base/NotificationCenter.h"
#include "Base/Published.h"
#include "Platform/SystemExtensions.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

class AppLogger;
class Dispatch;
class ExtensionPropertiesProbe;
class NSBundle;
class NSProcessInfo;
class NSWorkspace;

/// Posted on the default notification center. The second carries an `Error` as its object.
inline constexpr const char* quoxelinSystemExtensionCompleted =
    "quoxelin.systemExtension.completed";
inline constexpr const char* quoxelinSystemExtensionFailed = "quoxelin.systemExtension.failed";
inline constexpr const char* quoxelinSystemExtensionNeedsApproval =
    "quoxelin.systemExtension.needsApproval";

/// Installs the application's packet-tunnel extension, replaces it by the version in the bundle and
/// has the user approve it. Main thread only; calls of `activate` and `openSystemSettings` on
/// another thread are repeated on the main queue. Callbacks, notifications and published values
/// report the outcome. The published values change on a later turn of the main queue, possibly
/// after a callback.
///
/// Held by `std::shared_ptr`, so late answers are dropped once the service is gone.
class SystemExtensionService final : public ObservableObject,
                                     public OSSystemExtensionRequestDelegate,
                                     public std::enable_shared_from_this<SystemExtensionService> {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        AppLogger& logger;
        OSSystemExtensionManager& manager;
        NotificationCenter& notificationCenter;
        NSBundle& mainBundle;
        NSProcessInfo& processInfo;
        NSWorkspace& workspace;
    };

    explicit SystemExtensionService(const Dependencies& dependencies);

    static std::shared_ptr<SystemExtensionService> shared();

    Published<bool> isApproved{*this, false};
    /// The system waits for the user to allow the extension.
    Published<bool> needsUserApproval{*this, false};
    /// The text of the last failure.
    Published<std::optional<std::string>> lastErrorDescription{*this, std::nullopt};

    /// Optional callbacks of the owner. Not called for unknown results, or for canceled and
    /// superseded requests.
    std::function<void()> onCompleted;
    std::function<void()> onWillCompleteAfterReboot;
    std::function<void()> onNeedsUserApproval;
    std::function<void()> onFailed;

    /// Requests the extension's activation, unless a request is pending.
    void activate();

    /// Opens the settings page where the user can allow the extension.
    void openSystemSettings();

    OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest& request,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) override;
    void requestNeedsUserApproval(const OSSystemExtensionRequest& request) override;
    void didFinishWithResult(const OSSystemExtensionRequest& request, int result) override;
    void didFailWithError(const OSSystemExtensionRequest& request, const Error& error) override;
    void foundProperties(const OSSystemExtensionRequest& request,
                         const std::vector<OSSystemExtensionProperties>& properties) override;

  private:
    std::optional<std::string> embeddedSystemExtensionIdentifier() const;
    std::string expectedExtensionIdentifier() const;

    void log(const std::string& message) const;
    void reportApprovalNeeded(std::optional<std::string> errorDescription);
    void awaitReplacingRequest();
    void reportActivationSuccess();
    void reportActivationFailure(const Error& error);
    void checkExtensionInstalled(std::function<void(bool installed)> completion);
    void startWaitingForApproval();
    void stopWaitingForApproval();

    Dependencies dependencies;
    /// An activation request is pending.
    bool isActivating = false;
    /// Set while waiting for the user's approval.
    std::optional<Subscription> appDidBecomeActiveObserver;
    /// Probes that have not reported yet.
    std::vector<std::shared_ptr<ExtensionPropertiesProbe>> propertiesProbes;
    /// The number of activations submitted.
    int activationGeneration = 0;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
