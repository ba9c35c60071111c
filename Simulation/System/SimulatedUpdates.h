#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/ObserverList.h"
#include "Platform/Updater.h"

#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// A software-update framework whose feed has at most one newer version. Main thread only.
///
/// Checks are possible once an updater was started, one at a time.
class SimulatedUpdates final : public Updates {
  public:
    explicit SimulatedUpdates(Dispatch& dispatch) : dispatch(dispatch) {}

    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override {
        started = started || startingUpdater;
        changed();
        return std::make_unique<Controller>(*this);
    }

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
    class Controller final : public SPUStandardUpdaterController, public SPUUpdater {
      public:
        explicit Controller(SimulatedUpdates& updates) : updates(updates) {}

        SPUUpdater& updater() override { return *this; }
        void checkForUpdates() override { updates.check(); }
        bool canCheckForUpdates() const override { return updates.canCheck(); }

        Subscription observeCanCheckForUpdates(std::function<void(bool)> observer) override {
            auto subscription = updates.observers.add(observer);
            observer(updates.canCheck());
            return subscription;
        }

      private:
        SimulatedUpdates& updates;
    };

    bool canCheck() const { return started && allowed && !checking; }

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

    void changed() {
        if (const bool now = canCheck(); now != lastTold) {
            lastTold = now;
            observers.notify(now);
        }
    }

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
