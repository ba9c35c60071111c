#pragma once

#include "Platform/Updater.h"

namespace quoxelin {

/// Sparkle.
class MacUpdates final : public Updates {
  public:
    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override;
};

} // namespace quoxelin
