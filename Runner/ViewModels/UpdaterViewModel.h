#pragma once

#include "Base/Published.h"
#include "Base/Subscription.h"

namespace quoxelin {

class SPUUpdater;

/// The update checker for the panel. Main thread only.
class UpdaterViewModel final : public ObservableObject {
  public:
    explicit UpdaterViewModel(SPUUpdater& updater);

    Published<bool> canCheckForUpdates{*this, false};

    void checkForUpdates();

  private:
    SPUUpdater& updater;
    Subscription subscription;
};

} // namespace quoxelin
