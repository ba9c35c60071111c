#pragma once

namespace quoxelin {

/// Why a command that was run through the privileged helper has no result.
enum class QuoxelinExecError {
    /// There is no helper to talk to.
    connectionFailed,
    /// The tool's output is no status.
    decodingFailed,
};

} // namespace quoxelin
