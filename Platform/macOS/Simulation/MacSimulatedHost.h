#pragma once

#include "Platform/Platform.h"
#include "Platform/Simulated/SimulatedSystem.h"
#include "Platform/Simulated/Steering.h"
#include "Platform/macOS/MacDesktop.h"
#include "Platform/macOS/Simulation/MacStandardInput.h"

namespace quoxelin {

/// The real desktop with the services of an in-memory operating system under the application,
/// steered by lines on standard input (docs/simulated-platform.md), unless that is a terminal.
class MacSimulatedHost final : public PlatformHost {
  public:
    explicit MacSimulatedHost(const LaunchOptions& options);

    const Platform& platform() const override { return services; }

  private:
    MacDesktop desktop;
    SimulatedSystem system{desktop.dispatch, desktop.notificationCenter};
    Platform services;
    Steering steering;
    MacStandardInput commands{[this](std::string_view line) { steering.take(line); }};
};

} // namespace quoxelin
