#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <functional>
#include <optional>
#include <string>

namespace quoxelin {

class NSUserDefaults;
class SMAppService;

/// The application opens at login: registered once per build, removed at uninstall. Main thread.
class LoginItem {
  public:
    enum class Registration { alreadyRegistered, registered };

    /// Registered before for this build, registered now, or failed with the platform's error.
    using Outcome = Result<Registration, Error>;

    /// `registerAction` is called unless the defaults remember a success for this very build. An
    /// absent build is never remembered.
    static Outcome registerIfNeeded(NSUserDefaults& defaults,
                                    const std::optional<std::string>& build,
                                    const std::function<Result<void, Error>()>& registerAction);

    /// Unregisters and forgets, whatever the platform answers.
    static void unregister(NSUserDefaults& defaults, SMAppService& mainApp);
};

} // namespace quoxelin
