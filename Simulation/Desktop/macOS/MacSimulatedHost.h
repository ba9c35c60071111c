#pragma once

#include "Platform/macOS/MacDesktop.h"
#include "Simulation/Desktop/SteeredHost.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Simulation/Desktop/macOS/MacStandardInput.h"

namespace quoxelin {

/// The real Mac desktop over the services of the simulated system.
using MacSimulatedHost = SteeredHost<MacDesktop, MacScreen, MacStandardInput>;

} // namespace quoxelin
