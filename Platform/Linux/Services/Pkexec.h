#pragma once

namespace quoxelin {

/// pkexec's own exit codes; all others come from the program that it ran.
enum PkexecExit : int { pkexecDismissed = 126, pkexecNotAuthorized = 127 };

} // namespace quoxelin
