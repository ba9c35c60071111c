#include "Platform/PlatformFactory.h"
#include "Simulation/Desktop/Linux/SimulatedHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<SimulatedHost>(options);
}

} // namespace quoxelin
