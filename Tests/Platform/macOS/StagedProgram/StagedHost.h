#pragma once

#include "Platform/macOS/MacHost.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Simulation/Desktop/macOS/MacStandardInput.h"
#include "Simulation/Steering/Steering.h"

namespace quoxelin {

/// The product's own host, with every adapter of it, on the stage, whose user and system are
/// steered by lines on standard input as docs/simulation.md describes.
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
