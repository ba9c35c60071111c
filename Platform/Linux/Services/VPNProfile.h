#pragma once

#include "Platform/NetworkExtension.h"

#include <NetworkManager.h>

namespace quoxelin {

/// A VPN configuration as the application sees it. NetworkManager stores the localized description
/// as the connection's id, the provider's bundle identifier as its VPN service, and the rest as
/// items of the VPN's data.
struct VPNProfile {
    std::optional<std::string> localizedDescription;
    bool isEnabled = false;
    std::shared_ptr<NEVPNProtocol> protocol;

    /// A copy with a separate protocol object.
    VPNProfile copy() const;

    /// Reads a connection of type VPN. Enabled unless marked otherwise: other programs can start it
    /// anyway.
    static VPNProfile of(NMConnection* connection);

    /// Writes this to a connection of type VPN. Everything else in it stays as it is.
    void writeTo(NMConnection* connection) const;
};

/// An error of the VPN preferences or of a tunnel.
Error vpnError(NEVPNError code, const std::string& description);

} // namespace quoxelin
