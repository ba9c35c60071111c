#pragma once

namespace quoxelin {

class Steering;
struct SimulatedSystem;

// What there is to steer, for who uses that part of the simulated system.
// docs/simulated-platform.md says it command by command.

/// All that follows.
void addAllCommands(Steering& steering, SimulatedSystem& system);

/// The services under the application.
void addServiceCommands(Steering& steering, SimulatedSystem& system);
void addExtensionCommands(Steering& steering, SimulatedSystem& system);
void addVpnCommands(Steering& steering, SimulatedSystem& system);
void addHelperCommands(Steering& steering, SimulatedSystem& system);
void addRegistrationCommands(Steering& steering, SimulatedSystem& system);
void addNotificationCommands(Steering& steering, SimulatedSystem& system);
void addUpdateCommands(Steering& steering, SimulatedSystem& system);
void addScriptCommands(Steering& steering, SimulatedSystem& system);

/// What the application opens and copies.
void addWorkspaceCommands(Steering& steering, SimulatedSystem& system);
void addOpenPanelCommands(Steering& steering, SimulatedSystem& system);

/// The application itself, its main menu, and the programs that hand it URLs.
void addApplicationCommands(Steering& steering, SimulatedSystem& system);

/// The status item, and the panel's place on a screen without a toolkit.
void addStatusItemCommands(Steering& steering, SimulatedSystem& system);
void addPanelCommands(Steering& steering, SimulatedSystem& system);

} // namespace quoxelin
