#pragma once

#include "Base/Error.h"

#include <memory>
#include <string>
#include <vector>

namespace quoxelin {

// The SystemExtensions framework. Main thread only; delegates are called on the main thread.

inline constexpr const char* OSSystemExtensionErrorDomain = "OSSystemExtensionErrorDomain";

/// The framework's error codes.
enum class OSSystemExtensionError : int {
    unknown = 1,
    missingEntitlement = 2,
    unsupportedParentBundleLocation = 3,
    extensionNotFound = 4,
    extensionMissingIdentifier = 5,
    duplicateExtensionIdentifer = 6,
    unknownExtensionCategory = 7,
    codeSignatureInvalid = 8,
    validationFailed = 9,
    forbiddenBySystemPolicy = 10,
    requestCanceled = 11,
    requestSuperseded = 12,
    authorizationRequired = 13,
};

/// The raw results of a finished request. A platform may report others.
enum class OSSystemExtensionRequestResult : int { completed = 0, willCompleteAfterReboot = 1 };

enum class OSSystemExtensionReplacementAction : int { cancel = 0, replace = 1 };

/// Properties of one version of an extension.
struct OSSystemExtensionProperties {
    std::string bundleIdentifier;
    std::string bundleShortVersion;
    bool isEnabled = false;
    bool isAwaitingUserApproval = false;
};

class OSSystemExtensionRequestDelegate;

/// A request to the system about one extension.
struct OSSystemExtensionRequest {
    enum class Kind { activation, properties };
    Kind kind;
    std::string identifier;
    /// Weak: answers are dropped once the delegate is gone.
    std::weak_ptr<OSSystemExtensionRequestDelegate> delegate;
};

class OSSystemExtensionRequestDelegate {
  public:
    virtual ~OSSystemExtensionRequestDelegate() = default;

    /// Another version is already installed. Returns which of the two to keep.
    virtual OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest& request,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) = 0;

    /// The user has to allow the extension. The request stays pending.
    virtual void requestNeedsUserApproval(const OSSystemExtensionRequest& request) = 0;

    /// `result` is a raw `OSSystemExtensionRequestResult`.
    virtual void didFinishWithResult(const OSSystemExtensionRequest& request, int result) = 0;

    virtual void didFailWithError(const OSSystemExtensionRequest& request, const Error& error) = 0;

    /// The result of a properties request: every version that is installed or staged.
    virtual void foundProperties(const OSSystemExtensionRequest& request,
                                 const std::vector<OSSystemExtensionProperties>& properties) = 0;
};

class OSSystemExtensionManager {
  public:
    virtual ~OSSystemExtensionManager() = default;

    /// The answer comes later through the request's delegate, possibly never.
    virtual void submitRequest(const OSSystemExtensionRequest& request) = 0;
};

} // namespace quoxelin
