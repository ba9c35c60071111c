#pragma once

namespace quoxelin {

/// Why the system's network preferences could not be used.
enum class NetworkPreferenceApiError {
    /// There is no tunnel configuration of this application.
    managerNotFound,
};

} // namespace quoxelin
