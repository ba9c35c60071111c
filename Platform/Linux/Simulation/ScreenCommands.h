#pragma once

namespace quoxelin {

class Steering;
struct Desktop;

/// What a person sees and does at the real desktop: looks at the windows, presses what is on them,
/// follows a link back into the application, quits. docs/simulated-platform.md lists the commands;
/// those of the simulated desktop that have their counterpart here are replaced.
void addScreenCommands(Steering& steering, Desktop& desktop);

} // namespace quoxelin
