#include "Platform/PlatformFactory.h"

#include "Platform/macOS/MacHost.h"
#include "Simulation/Desktop/macOS/MacSimulatedHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    if (options.simulate)
        return std::make_unique<MacSimulatedHost>(options);
    return std::make_unique<MacHost>(options);
}

} // namespace quoxelin
