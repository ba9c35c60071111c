#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin::sim {

/// One login profile of the daemon: a person's account and the node this machine is in it.
struct Account {
    std::string id;          ///< the profile's id, as in the switch request's query
    std::string name;        ///< what the account switcher shows
    std::string displayName; ///< the person, as in the network map's user profiles
    std::string email;       ///< login name; empty for an account that has none
    std::string hostLabel;   ///< first label of the node's DNS name
    std::string network;     ///< rest of the node's DNS name
    std::int64_t userId = 0;
    std::int64_t nodeId = 0;

    bool authenticated = false; ///< the node's key is known to the conductor
    bool wantRunning = false;   ///< the preference, kept for each profile

    std::string nodeName() const { return hostLabel + "." + network; }
};

/// The two profiles a simulated daemon begins with: a short English one and a long Japanese one.
std::vector<Account> firstAccounts();

/// The made-up account that a login on an empty profile creates; `number` counts those, from 0.
Account newAccount(std::size_t number);

} // namespace quoxelin::sim
