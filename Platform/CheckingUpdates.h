#pragma once

#include "Base/ObserverList.h"
#include "Platform/Updater.h"

namespace quoxelin {

/// The part of an updater that needs no framework. Checks are possible once an updater was started.
/// Main thread only.
class CheckingUpdates : public Updates {
  public:
    /// `isReady` returns whether a check is possible now; `check` is called when the user asks.
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

    /// Notifies the observers if checks have become possible or impossible. Call after a change.
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
