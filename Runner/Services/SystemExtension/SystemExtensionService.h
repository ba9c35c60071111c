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

/// Posted on the default notification centre; the object of the second is the `Error`.
inline constexpr const char* quoxelinSystemExtensionCompleted =
    "quoxelin.systemExtension.completed";
inline constexpr const char* quoxelinSystemExtensionFailed = "quoxelin.systemExtension.failed";
inline constexpr const char* quoxelinSystemExtensionNeedsApproval =
    "quoxelin.systemExtension.needsApproval";

/// Gets the application's packet-tunnel extension installed, replaced by the version that ships
/// inside the application, and approved by the user. Main thread only; a call of `activate` or
/// `openSystemSettings` from another thread is repeated on the main queue. Outcomes are told by the
/// callbacks, the notifications and the published values; the latter change on a turn of the main
/// queue of their own, so that a callback may run before.
///
/// Held by `std::shared_ptr`: the system's answers find a service that has gone no more.
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

    /// The extension is active.
    Published<bool> isApproved{*this, false};
    /// The system waits for the user to allow the extension.
    Published<bool> needsUserApproval{*this, false};
    /// The text of the last failure.
    Published<std::optional<std::string>> lastErrorDescription{*this, std::nullopt};

    /// The owner's, each optional. An unknown result of a request, a cancelled request and one that
    /// was superseded call none.
    std::function<void()> onCompleted;
    std::function<void()> onWillCompleteAfterReboot;
    std::function<void()> onNeedsUserApproval;
    std::function<void()> onFailed;

    /// Asks for the extension's activation, unless a request is under way.
    void activate();

    /// Opens the settings where the user allows the extension.
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
    /// An activation request is outstanding.
    bool isActivating = false;
    /// There while the user's approval is awaited.
    std::optional<Subscription> appDidBecomeActiveObserver;
    /// Kept until they report.
    std::vector<std::shared_ptr<ExtensionPropertiesProbe>> propertiesProbes;
    /// Counts the activations that were submitted.
    int activationGeneration = 0;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
