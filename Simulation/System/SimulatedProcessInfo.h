#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

/// A process of which everything can be said.
class SimulatedProcessInfo final : public NSProcessInfo {
  public:
    std::string name = "Quoxelin";
    int majorVersion = 15;

    std::string processName() const override { return name; }
    int operatingSystemMajorVersion() const override { return majorVersion; }
};

} // namespace quoxelin
