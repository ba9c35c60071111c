#pragma once

namespace quoxelin {

class Steering;
struct SimulatedSystem;

// The commands of the simulated system. docs/simulation.md lists them.

/// Helper, login item, notifications, updates and scripts.
void addServiceCommands(Steering& steering, SimulatedSystem& system);
void addTunnelCommands(Steering& steering, SimulatedSystem& system);
void addExtensionCommands(Steering& steering, SimulatedSystem& system);

/// The status item, the workspace, the clipboard and the open panel.
void addDesktopCommands(Steering& steering, SimulatedSystem& system);

} // namespace quoxelin
