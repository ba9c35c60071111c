#pragma once

#include "Platform/Updater.h"

namespace quoxelin {

class NSBundle;

/// Sparkle. Does not start an updater if the bundle has no public key for updates, because Sparkle
/// would then show an error at every start.
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
