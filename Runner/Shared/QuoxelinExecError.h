#pragma once

namespace quoxelin {

/// Why a command run through the privileged helper failed.
enum class QuoxelinExecError {
    /// The helper is unavailable.
    connectionFailed,
    /// The tool's output is not a status.
    decodingFailed,
};

} // namespace quoxelin
