#include "Platform/Linux/Desktop.h"
#include "Platform/PlatformFactory.h"
#include "Simulation/Desktop/Linux/QtScreen.h"
#include "Simulation/Desktop/Linux/StandardInput.h"
#include "Simulation/Desktop/SteeredHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<SteeredHost<Desktop, QtScreen, StandardInput>>(options);
}

} // namespace quoxelin
