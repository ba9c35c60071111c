#pragma once

#include "Base/Subscription.h"

#include <functional>
#include <memory>

namespace quoxelin {

// The software-update framework. Main thread only.

class SPUUpdater {
  public:
    virtual ~SPUUpdater() = default;

    virtual bool canCheckForUpdates() const = 0;

    /// Hands over the current value at once and then every one that follows.
    virtual Subscription observeCanCheckForUpdates(std::function<void(bool canCheck)> observer) = 0;

    /// The check that a user asks for, with the framework's own windows.
    virtual void checkForUpdates() = 0;
};

class SPUStandardUpdaterController {
  public:
    virtual ~SPUStandardUpdaterController() = default;
    virtual SPUUpdater& updater() = 0;

    /// What the main menu's item does.
    virtual void checkForUpdates() = 0;
};

class Updates {
  public:
    virtual ~Updates() = default;

    /// A controller with no delegates.
    virtual std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) = 0;
};

} // namespace quoxelin
