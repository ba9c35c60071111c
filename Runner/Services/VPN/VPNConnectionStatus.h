#pragma once

namespace quoxelin {

enum class VPNConnectionStatus {
    disconnected,
    connected,
    /// Starting or reconnecting.
    connecting,
    disconnecting,
    /// The last start failed, or there was no configuration to start.
    error,
    /// The platform reported an unknown status.
    unknown,
};

} // namespace quoxelin
