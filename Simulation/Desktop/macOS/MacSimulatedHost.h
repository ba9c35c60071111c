#pragma once

#include "Platform/macOS/MacDesktop.h"
#include "Simulation/Desktop/SteeredHost.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Simulation/Desktop/macOS/MacStandardInput.h"

namespace quoxelin {

/// The real Mac desktop with simulated services.
using MacSimulatedHost = SteeredHost<MacDesktop, MacScreen, MacStandardInput>;

} // namespace quoxelin
