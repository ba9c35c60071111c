#pragma once

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/Simulation/QtScreen.h"
#include "Platform/Linux/Simulation/StandardInput.h"
#include "Platform/Simulated/SteeredHost.h"

namespace quoxelin {

/// The real Linux desktop over the services of the simulated system.
using SimulatedHost = SteeredHost<Desktop, QtScreen, StandardInput>;

} // namespace quoxelin
