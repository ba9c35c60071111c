#include "Platform/Linux/Services/NetworkManagerTunnel.h"

namespace quoxelin {

int NetworkManagerTunnel::status() const {
    return uuid->empty() ? static_cast<int>(NEVPNStatus::invalid) : profiles->status(*uuid);
}

Result<void, Error> NetworkManagerTunnel::startVPNTunnel() {
    if (uuid->empty())
        return tl::unexpected(
            vpnError(NEVPNError::configurationInvalid, "The VPN configuration is not saved"));
    return profiles->start(*uuid);
}

void NetworkManagerTunnel::stopVPNTunnel() {
    if (!uuid->empty())
        profiles->stop(*uuid);
}

} // namespace quoxelin
