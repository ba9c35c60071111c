#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace quoxelin {

/// A tunnel that NetworkManager was asked to stop.
struct EndingTunnel {
    std::string uuid;
    /// NetworkManager has not answered the start yet, so the tunnel may appear later.
    bool mayStillStart = false;
};

/// Makes NetworkManager stop these tunnels. Blocks for at most `longest`, without serving the event
/// loop; a process that stays behind does the rest within a minute. That process leaves the
/// tunnels alone once the application runs again. `systemBus` is a D-Bus address.
void endTunnels(std::vector<EndingTunnel> tunnels, const std::string& systemBus,
                std::chrono::milliseconds longest);

} // namespace quoxelin
