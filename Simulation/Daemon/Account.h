#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin::sim {

/// One login profile of the daemon: a user's account and the node this machine is in it.
struct Account {
    /// The profile's id, as in the switch request's query.
    std::string id;
    /// What the account switcher shows.
    std::string name;
    /// The user, as in the network map's user profiles.
    std::string displayName;
    /// Login name; empty for an account that has none.
    std::string email;
    /// First label of the node's DNS name.
    std::string hostLabel;
    /// Rest of the node's DNS name.
    std::string network;
    std::int64_t userId = 0;
    std::int64_t nodeId = 0;

    /// The node's key is known to the conductor.
    bool authenticated = false;
    /// The preference, kept for each profile.
    bool wantRunning = false;

    std::string nodeName() const { return hostLabel + "." + network; }
};

/// The two profiles a simulated daemon begins with: a short English one and a long Japanese one.
std::vector<Account> firstAccounts();

/// The made-up account that a login on an empty profile creates; `number` counts those, from 0.
Account newAccount(std::size_t number);

} // namespace quoxelin::sim
