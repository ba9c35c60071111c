#pragma once

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/Simulation/StandardInput.h"
#include "Platform/Platform.h"
#include "Platform/Simulated/SimulatedSystem.h"
#include "Platform/Simulated/Steering.h"

namespace quoxelin {

/// The real desktop with the services of an in-memory operating system under the application.
///
/// Without a display there is nobody to read a clipboard, to see a browser or to choose a folder:
/// these are simulated then, too, and so is the tray. All of it is steered by lines on standard
/// input (docs/simulated-platform.md), unless that is a terminal.
class SimulatedHost final : public PlatformHost {
  public:
    explicit SimulatedHost(const LaunchOptions& options);

    const Platform& platform() const override { return services; }

  private:
    Platform compose(const LaunchOptions& options);

    Desktop desktop;
    SimulatedSystem system{desktop.dispatch, desktop.notificationCenter};
    Platform services;
    Steering steering;
    StandardInput commands{[this](std::string_view line) { steering.take(line); }};
};

} // namespace quoxelin
