#include "Platform/PlatformFactory.h"
#include "Simulation/Desktop/macOS/MacSimulatedHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<MacSimulatedHost>(options);
}

} // namespace quoxelin
