#pragma once

#include "Runner/Services/VPN/VPNConnectionStatus.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quoxelin {

/// The account and this node, as last known.
struct LoginViewState {
    bool isLoggedIn = false;
    std::string userName;
    std::string email;
    std::string domain;
    std::string hostName;
    std::int64_t nodeID = 0;
    /// Joined with ",".
    std::string quoxelinIPs;
    std::string backendState;
    /// Empty: none.
    std::string interactiveLoginUrl;
    /// Present while the node is quarantined by the device policy.
    std::optional<std::string> jailedReason;

    bool operator==(const LoginViewState&) const = default;
};

/// The tunnel.
struct VpnViewState {
    VPNConnectionStatus status = VPNConnectionStatus::unknown;

    bool operator==(const VpnViewState&) const = default;
};

} // namespace quoxelin
