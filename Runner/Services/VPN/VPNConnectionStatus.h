#pragma once

namespace quoxelin {

enum class VPNConnectionStatus {
    /// No tunnel.
    disconnected,
    connected,
    /// Starting, or coming back.
    connecting,
    disconnecting,
    /// The last start failed, or there was nothing to start.
    error,
    /// The platform reported a status that is not known.
    unknown,
};

} // namespace quoxelin
