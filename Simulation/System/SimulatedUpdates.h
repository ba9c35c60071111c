#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/ObserverList.h"
#include "Platform/Updater.h"

#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// A software-update framework with a feed of at most one newer version. Main thread only.
///
/// Nothing can be checked before an updater was started, nor while a check is under way.
class SimulatedUpdates final : public Updates {
  public:
    explicit SimulatedUpdates(Dispatch& dispatch) : dispatch(dispatch) {}

    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override;

    /// Forbids checks, or allows them again.
    void setCanCheckForUpdates(bool allowed);

    /// What the feed offers; none: the application is up to date.
    void setAvailableUpdate(std::optional<std::string> version) { available = std::move(version); }

    /// How long a check takes; one second to begin with.
    void setCheckDuration(Duration duration) { checkDuration = duration; }

    /// The finished checks, each with the version that was offered to the user, if any.
    const std::vector<std::optional<std::string>>& checks() const { return finished; }

    /// How often the application asked for a check, also when there could be none.
    int requests() const { return asked; }

  private:
    class Controller;

    bool canCheck() const { return started && allowed && !checking; }
    void check();
    void changed();

    Dispatch& dispatch;
    bool started = false;
    bool allowed = true;
    bool checking = false;
    int asked = 0;
    Duration checkDuration = seconds(1);
    std::optional<std::string> available;
    std::vector<std::optional<std::string>> finished;
    ObserverList<bool> observers;
    bool lastTold = false;
    Lifetime lifetime;
};

} // namespace quoxelin
