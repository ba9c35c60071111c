#pragma once

#include "Platform/Simulated/SteeredHost.h"
#include "Platform/macOS/MacDesktop.h"
#include "Platform/macOS/Simulation/MacScreen.h"
#include "Platform/macOS/Simulation/MacStandardInput.h"

namespace quoxelin {

/// The real Mac desktop over the services of the simulated system.
using MacSimulatedHost = SteeredHost<MacDesktop, MacScreen, MacStandardInput>;

} // namespace quoxelin
