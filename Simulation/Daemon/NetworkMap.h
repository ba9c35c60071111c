#pragma once

#include "Simulation/Daemon/Account.h"

#include <cstddef>
#include <string>
#include <vector>

namespace quoxelin::sim {

/// The overlay addresses of the account's own node: one from 100.64.0.0/10, one from fd7a::/16.
std::vector<std::string> ownAddresses(const Account& account);

/// Writes the network map of an account's node. The same account and number of peers always give
/// the same map. Caches the peers' text, which can be large.
class NetworkMap {
  public:
    /// The "NetMap" member's JSON text for a node with `peerCount` peers: about 350 bytes a peer.
    std::string text(const Account& account, std::size_t peerCount);

  private:
    std::string peersAccount;
    std::size_t peersCount = 0;
    std::string peers;
};

} // namespace quoxelin::sim
