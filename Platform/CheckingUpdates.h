#pragma once

#include "Base/ObserverList.h"
#include "Platform/Updater.h"

namespace quoxelin {

/// Updates where there is no framework's controller. Nothing can be checked before an updater was
/// started. Main thread only.
class CheckingUpdates : public Updates {
  public:
    /// `isReady` says whether a check is possible now; `check` is the user's request.
    CheckingUpdates(std::function<bool()> isReady, std::function<void()> check)
        : isReady(std::move(isReady)), check(std::move(check)) {}

    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override {
        started = started || startingUpdater;
        changed();
        return std::make_unique<Controller>(*this);
    }

  protected:
    bool canCheck() const { return started && isReady(); }

    /// Tells the observers whether a check is possible, if that is news. Call it after a change.
    void changed() {
        if (const bool now = canCheck(); now != lastTold) {
            lastTold = now;
            observers.notify(now);
        }
    }

  private:
    class Controller final : public SPUStandardUpdaterController, public SPUUpdater {
      public:
        explicit Controller(CheckingUpdates& updates) : updates(updates) {}

        SPUUpdater& updater() override { return *this; }
        void checkForUpdates() override { updates.check(); }
        bool canCheckForUpdates() const override { return updates.canCheck(); }
        Subscription observeCanCheckForUpdates(std::function<void(bool)> observer) override {
            auto subscription = updates.observers.add(observer);
            observer(updates.canCheck());
            return subscription;
        }

      private:
        CheckingUpdates& updates;
    };

    const std::function<bool()> isReady;
    const std::function<void()> check;
    bool started = false;
    bool lastTold = false;
    ObserverList<bool> observers;
};

} // namespace quoxelin
