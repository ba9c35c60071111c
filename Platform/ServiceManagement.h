#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <memory>
#include <string>

namespace quoxelin {

// The ServiceManagement framework. Main thread only; every call answers at once.

/// The framework's raw values. A platform may report others.
enum class SMAppServiceStatus : int {
    notRegistered = 0,
    enabled = 1,
    requiresApproval = 2,
    notFound = 3,
};

/// A program that the system starts for us.
class SMAppService {
  public:
    virtual ~SMAppService() = default;

    /// Succeeds if the program is already registered.
    virtual Result<void, Error> registerService() = 0;

    virtual Result<void, Error> unregisterService() = 0;

    /// A raw `SMAppServiceStatus`.
    virtual int status() const = 0;
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
