#include "Simulation/System/SimulatedUpdates.h"

namespace quoxelin {

class SimulatedUpdates::Controller final : public SPUStandardUpdaterController, public SPUUpdater {
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

std::unique_ptr<SPUStandardUpdaterController>
SimulatedUpdates::makeStandardUpdaterController(bool startingUpdater) {
    started = started || startingUpdater;
    changed();
    return std::make_unique<Controller>(*this);
}

void SimulatedUpdates::setCanCheckForUpdates(bool value) {
    allowed = value;
    changed();
}

void SimulatedUpdates::check() {
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

void SimulatedUpdates::changed() {
    if (const bool now = canCheck(); now != lastTold) {
        lastTold = now;
        observers.notify(now);
    }
}

} // namespace quoxelin
