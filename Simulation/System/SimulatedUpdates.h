#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Platform/CheckingUpdates.h"

#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// A software-update framework whose feed has at most one newer version. It checks one at a time.
/// Main thread only.
class SimulatedUpdates final : public CheckingUpdates {
  public:
    explicit SimulatedUpdates(Dispatch& dispatch)
        : CheckingUpdates([this] { return allowed && !checking; }, [this] { check(); }),
          dispatch(dispatch) {}

    /// Allows or forbids checks.
    void setCanCheckForUpdates(bool value) {
        allowed = value;
        changed();
    }

    /// The version in the feed; empty if the application is up to date.
    void setAvailableUpdate(std::optional<std::string> version) { available = std::move(version); }

    /// How long a check takes; initially one second.
    void setCheckDuration(Duration duration) { checkDuration = duration; }

    /// The finished checks, each with the version offered to the user, if any.
    const std::vector<std::optional<std::string>>& checks() const { return finished; }

    /// How often the application requested a check, even if none was possible.
    int requests() const { return asked; }

  private:
    void check() {
        ++asked;
        if (!canCheck())
            return;
        checking = true;
        changed();
        dispatch.main().asyncAfter(checkDuration, lifetime.weakly([this] {
            checking = false;
            finished.push_back(available);
            changed();
        }));
    }

    Dispatch& dispatch;
    bool allowed = true;
    bool checking = false;
    int asked = 0;
    Duration checkDuration = seconds(1);
    std::optional<std::string> available;
    std::vector<std::optional<std::string>> finished;
    Lifetime lifetime;
};

} // namespace quoxelin
