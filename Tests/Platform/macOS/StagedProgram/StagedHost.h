#pragma once

#include "Platform/macOS/MacHost.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Simulation/Desktop/macOS/MacStandardInput.h"
#include "Simulation/Steering/Steering.h"

namespace quoxelin {

/// The product's host with all its adapters, on the stage. Lines on standard input control the user
/// and the system; docs/simulation.md describes them.
class StagedHost final : public PlatformHost {
  public:
    explicit StagedHost(const LaunchOptions& options);

    const Platform& platform() const override { return host.platform(); }
    void observeMissingServices(std::function<void(const std::string&)> observer) override {
        host.observeMissingServices(std::move(observer));
    }
    void settle() override { host.settle(); }

  private:
    MacHost host;
    MacScreen screen;
    Steering steering;
    MacStandardInput commands{[this](std::string_view line) { steering.take(line); },
                              [this] { steering.look(); }};
};

} // namespace quoxelin
