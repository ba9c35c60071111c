#pragma once

#include "Platform/Updater.h"

namespace quoxelin {

class NSBundle;

/// Sparkle; without the key that updates are signed with no updater is started, as Sparkle would
/// tell the user to contact the developer at every start.
class MacUpdates final : public Updates {
  public:
    explicit MacUpdates(const NSBundle& bundle);

    bool hasKey() const { return isSigned; }
    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override;

  private:
    bool isSigned;
};

} // namespace quoxelin
