#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <memory>
#include <string>

namespace quoxelin {

// The ServiceManagement framework. Main thread only; completions come there, before the call
// returns or later.

/// The framework's raw values. A platform may report others.
enum class SMAppServiceStatus : int {
    notRegistered = 0,
    enabled = 1,
    requiresApproval = 2,
    notFound = 3,
};

/// A program that the system starts for us. Destroying the object drops unanswered calls.
class SMAppService {
  public:
    virtual ~SMAppService() = default;

    /// Succeeds if the program is already registered.
    virtual void registerService(Completion<void, Error> completion) = 0;

    virtual Result<void, Error> unregisterService() = 0;

    /// Hands over a raw `SMAppServiceStatus`.
    virtual void status(std::function<void(int)> completion) = 0;
};

class ServiceManagement {
  public:
    virtual ~ServiceManagement() = default;

    /// The application itself, started at login.
    virtual std::unique_ptr<SMAppService> mainApp() = 0;

    /// The privileged helper described by the launchd property list in the bundle.
    virtual std::unique_ptr<SMAppService> daemon(const std::string& plistName) = 0;
};

} // namespace quoxelin
