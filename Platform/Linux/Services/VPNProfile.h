#pragma once

#include "Platform/NetworkExtension.h"

#include <map>
#include <memory>
#include <systemd/sd-bus.h>

namespace quoxelin {

// A VPN configuration as a connection of NetworkManager: its localized description is the
// connection's id, the provider's bundle identifier is the VPN service, and the rest are items of
// the VPN's data.

struct VPNProfile {
    std::string uuid;
    std::string id;
    std::string service;
    /// The VPN's data, with items that this program does not know.
    std::map<std::string, std::string> data;
    /// NetworkManager's message with all settings of the connection, of which this program knows
    /// only some. Null for a new one.
    std::shared_ptr<sd_bus_message> settings;

    /// Enabled unless marked otherwise: other programs can start it anyway.
    VPNConfiguration configuration() const;

    /// Everything that the configuration does not have stays as it is.
    void set(const VPNConfiguration& configuration);

    /// Compares everything except settings that this program does not know.
    bool isLike(const VPNProfile& other) const;
};

/// Reads the answer to `GetSettings`. Empty for connections of other types.
std::optional<VPNProfile> readProfile(sd_bus_message* settings);

/// Appends all settings of the connection. A new one belongs to this user, so that saving it needs
/// no administrator, and is only started on demand. Negative if that fails.
int writeProfile(sd_bus_message* message, const VPNProfile& profile);

/// An error of the VPN preferences or of a tunnel.
Error vpnError(NEVPNError code, const std::string& description);

} // namespace quoxelin
