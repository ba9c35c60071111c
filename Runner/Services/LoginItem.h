#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <functional>
#include <optional>
#include <string>

namespace quoxelin {

class NSUserDefaults;
class SMAppService;

/// Opens the application at login. Registered once per build, removed on uninstall. Main thread
/// only.
class LoginItem {
  public:
    enum class Registration { alreadyRegistered, registered };

    /// Already registered for this build, registered now, or the platform's error.
    using Outcome = Result<Registration, Error>;

    /// Registers `mainApp` unless the defaults hold an earlier success for this build. An absent
    /// build is never stored. The completion is dropped if `mainApp` is destroyed first.
    static void registerIfNeeded(NSUserDefaults& defaults, const std::optional<std::string>& build,
                                 SMAppService& mainApp, std::function<void(Outcome)> completion);

    /// Unregisters and clears the stored build, even if the platform reports an error.
    static void unregister(NSUserDefaults& defaults, SMAppService& mainApp);
};

} // namespace quoxelin
