#pragma once

namespace quoxelin {

class Steering;
struct SimulatedSystem;

// What there is to steer of the simulated system; docs/simulation.md lists the commands.

/// The services under the application.
void addServiceCommands(Steering& steering, SimulatedSystem& system);
void addTunnelCommands(Steering& steering, SimulatedSystem& system);
void addExtensionCommands(Steering& steering, SimulatedSystem& system);

/// The status item, and what the application opens and copies.
void addDesktopCommands(Steering& steering, SimulatedSystem& system);

} // namespace quoxelin
