#pragma once

#include "Platform/NetworkExtension.h"

#include <NetworkManager.h>

namespace quoxelin {

// A VPN configuration as a NetworkManager connection: its localized description is the connection's
// id, the provider's bundle identifier is the VPN service, and the rest are items of the VPN's
// data.

/// Reads a connection of type VPN. Enabled unless marked otherwise: other programs can start it
/// anyway.
VPNConfiguration configurationOf(NMConnection* connection);

/// Writes to a connection of type VPN. Everything else in it stays as it is.
void write(const VPNConfiguration& configuration, NMConnection* connection);

/// An error of the VPN preferences or of a tunnel.
Error vpnError(NEVPNError code, const std::string& description);

} // namespace quoxelin
