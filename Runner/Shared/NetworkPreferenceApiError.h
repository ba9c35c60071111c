#pragma once

namespace quoxelin {

/// Why the system's network preferences are unavailable.
enum class NetworkPreferenceApiError {
    /// This application has no tunnel configuration.
    managerNotFound,
};

} // namespace quoxelin
