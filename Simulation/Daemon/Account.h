#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin::sim {

/// One login profile of the daemon: a user's account, and this machine's node in it.
struct Account {
    /// The profile's id, as in the switch request's query.
    std::string id;
    /// The name in the account switcher.
    std::string name;
    /// The user, as in the network map's user profiles.
    std::string displayName;
    /// The login name; empty if there is none.
    std::string email;
    /// The first label of the node's DNS name.
    std::string hostLabel;
    /// The rest of the node's DNS name.
    std::string network;
    std::int64_t userId = 0;
    std::int64_t nodeId = 0;

    /// Whether the conductor knows the node's key.
    bool authenticated = false;
    /// A preference of each profile.
    bool wantRunning = false;

    std::string nodeName() const { return hostLabel + "." + network; }
};

/// The initial profiles: a short English one and a long Japanese one.
std::vector<Account> firstAccounts();

/// The account that a login on an empty profile creates. `number` counts them from 0.
Account newAccount(std::size_t number);

} // namespace quoxelin::sim
