#pragma once

#include "Base/Json.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include <fmt/format.h>
#include <string>

namespace quoxelin::benchmarks {

inline Node peer(std::int64_t id) {
    const auto address = fmt::format("100.{}.{}.{}", 64 + id / 65'536, id / 256 % 256, id % 256);
    const auto key = fmt::format("{:064x}", id * 0x9E3779B97F4A7C15U);
    return {id,
            fmt::format("peer-{}.home.quoxelin.net", id),
            {{address + "/32", fmt::format("fd7a::{:x}/128", id)}},
            key,
            {{address + "/32", fmt::format("fd7a::{:x}/128", id)}},
            {{"203.0.113.7:40100", "192.168.1.20:40100"}},
            key,
            "linux",
            id % 100};
}

/// A notification with a network map of that many peers, about 350 bytes per peer, without the line
/// feed.
inline std::string networkMapLine(int peers) {
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    auto& map = notify.netMap.emplace();
    map.selfNode = NodeView{peer(0)};
    std::vector<NodeView> nodes;
    for (int id = 1; id <= peers; ++id)
        nodes.push_back({peer(id)});
    map.peers = nodes;
    std::map<std::string, UserProfile> profiles;
    for (int id = 0; id < std::min(peers, 100); ++id)
        profiles[std::to_string(id)] = {fmt::format("user{}@example.com", id),
                                        fmt::format("User {}", id), std::nullopt};
    map.userProfiles = profiles;
    return json::encode(notify);
}

} // namespace quoxelin::benchmarks
