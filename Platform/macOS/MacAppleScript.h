#pragma once

#include "Platform/AppleScript.h"

namespace quoxelin {

class MacAppleScript final : public AppleScript {
  public:
    std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) override;
};

} // namespace quoxelin
