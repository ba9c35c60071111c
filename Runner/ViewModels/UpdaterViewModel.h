#pragma once

#include "Base/Published.h"
#include "Base/Subscription.h"

namespace quoxelin {

class SPUUpdater;

/// The update checker as the panel sees it. Main thread only.
class UpdaterViewModel final : public ObservableObject {
  public:
    explicit UpdaterViewModel(SPUUpdater& updater);

    Published<bool> canCheckForUpdates{*this, false};

    /// The check that a user asks for.
    void checkForUpdates();

  private:
    SPUUpdater& updater;
    Subscription subscription;
};

} // namespace quoxelin
