#include "Platform/PlatformFactory.h"
#include "Platform/macOS/MacDesktop.h"
#include "Simulation/Desktop/SteeredHost.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Simulation/Desktop/macOS/MacStandardInput.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<SteeredHost<MacDesktop, MacScreen, MacStandardInput>>(options);
}

} // namespace quoxelin
