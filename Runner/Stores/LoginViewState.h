#pragma once

#include "Runner/Services/VPN/VPNConnectionStatus.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quoxelin {

/// The last known state of the account and this node.
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
    /// Empty for none.
    std::string interactiveLoginUrl;
    /// Set while the device policy quarantines the node.
    std::optional<std::string> jailedReason;

    bool operator==(const LoginViewState&) const = default;
};

struct VpnViewState {
    VPNConnectionStatus status = VPNConnectionStatus::unknown;

    bool operator==(const VpnViewState&) const = default;
};

} // namespace quoxelin
