#include "Platform/Linux/Services/LinuxNEVPNConnection.h"

namespace quoxelin {

int LinuxNEVPNConnection::status() const {
    return uuid->empty() ? static_cast<int>(NEVPNStatus::invalid) : profiles->status(*uuid);
}

Result<void, Error> LinuxNEVPNConnection::startVPNTunnel() {
    if (uuid->empty())
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN configuration is not saved"));
    return profiles->start(*uuid);
}

void LinuxNEVPNConnection::stopVPNTunnel() {
    if (!uuid->empty())
        profiles->stop(*uuid);
}

} // namespace quoxelin
