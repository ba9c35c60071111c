#pragma once

#include "Platform/NetworkExtension.h"

#include <NetworkManager.h>

namespace quoxelin {

/// What a VPN configuration says, as the application sees it, and how NetworkManager keeps it: the
/// localized description is the connection's id, the provider's bundle identifier its VPN service,
/// and the rest are items of the VPN's data.
struct VPNProfile {
    std::optional<std::string> localizedDescription;
    bool isEnabled = false;
    std::shared_ptr<NEVPNProtocol> protocol;

    /// With a protocol object of its own.
    VPNProfile copy() const;

    /// What a connection of type VPN says. One that says nothing of being enabled can be started
    /// from everywhere else, so it is.
    static VPNProfile of(NMConnection* connection);

    /// Makes the connection, of type VPN, say this. What is not told of here stays as it is.
    void writeTo(NMConnection* connection) const;
};

/// An error of the VPN preferences, or of the tunnel behind one.
Error vpnError(NEVPNError code, const std::string& description);

} // namespace quoxelin
