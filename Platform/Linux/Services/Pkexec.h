#pragma once

namespace quoxelin {

/// What pkexec's own exit codes mean; the others are those of the program that it ran.
enum PkexecExit : int { pkexecDismissed = 126, pkexecNotAuthorized = 127 };

} // namespace quoxelin
