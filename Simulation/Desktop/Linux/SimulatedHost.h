#pragma once

#include "Platform/Linux/Desktop.h"
#include "Simulation/Desktop/Linux/QtScreen.h"
#include "Simulation/Desktop/Linux/StandardInput.h"
#include "Simulation/Desktop/SteeredHost.h"

namespace quoxelin {

/// The real Linux desktop with simulated services.
using SimulatedHost = SteeredHost<Desktop, QtScreen, StandardInput>;

} // namespace quoxelin
