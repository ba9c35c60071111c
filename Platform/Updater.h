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

    /// Calls the observer with the current value at once, then with every new one.
    virtual Subscription observeCanCheckForUpdates(std::function<void(bool canCheck)> observer) = 0;

    /// Checks at the user's request, with the framework's own windows.
    virtual void checkForUpdates() = 0;
};

class SPUStandardUpdaterController {
  public:
    virtual ~SPUStandardUpdaterController() = default;
    virtual SPUUpdater& updater() = 0;

    /// The action of the main menu's item.
    virtual void checkForUpdates() = 0;
};

class Updates {
  public:
    virtual ~Updates() = default;

    /// Makes a controller without delegates.
    virtual std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) = 0;
};

} // namespace quoxelin
