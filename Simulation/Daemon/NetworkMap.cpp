#include "Simulation/Daemon/NetworkMap.h"

#include "Base/Json.h"

#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>

namespace quoxelin::sim {

namespace {

/// Well-spread numbers that are the same on every machine (the splitmix64 sequence).
class Scramble {
  public:
    explicit Scramble(std::uint64_t seed) : state(seed) {}

    std::uint64_t next() {
        state += 0x9E3779B97F4A7C15u;
        std::uint64_t z = state;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
        z = (z ^ z >> 27) * 0x94D049BB133111EBu;
        return z ^ z >> 31;
    }

  private:
    std::uint64_t state;
};

constexpr std::array systems{"linux", "macOS", "windows", "iOS", "android"};

/// Login names and display names.
constexpr std::array colleagues{std::pair("zeynep", "Zeynep Yıldız"),
                                std::pair("build-bot", "Build Bot")};

std::uint64_t seedOf(const Account& account) {
    return static_cast<std::uint64_t>(account.nodeId);
}

/// The number of a node's addresses within 100.64.0.0/10. Peers follow the account's own node and
/// wrap around.
std::uint32_t hostNumber(const Account& account, std::size_t offset) {
    const std::uint64_t first = seedOf(account) % 0x100000 + 1;
    return static_cast<std::uint32_t>((first + offset) % 0x3FFFFE + 1);
}

std::string ipv4(std::uint32_t host) {
    return fmt::format("100.{}.{}.{}", 64 + (host >> 16), host >> 8 & 255, host & 255);
}

std::string ipv6(std::uint32_t host) {
    return fmt::format("fd7a::{:x}:{:x}", host >> 16, host & 0xFFFF);
}

std::string key(Scramble& scramble) {
    return fmt::format("{:016x}{:016x}{:016x}{:016x}", scramble.next(), scramble.next(),
                       scramble.next(), scramble.next());
}

/// Multiplying by an odd number permutes the 62-bit numbers, so ids are unique.
std::uint64_t nodeId(std::size_t number) {
    return (number + 1) * 0x9E3779B97F4A7C15u & 0x3FFFFFFFFFFFFFFFu;
}

void appendPeer(std::string& text, const Account& account, std::size_t number) {
    Scramble scramble(seedOf(account) ^ (number + 1) * 0x2545F4914F6CDD1Du);
    const auto pick = scramble.next();
    const auto host = hostNumber(account, number + 1);
    const auto machine = key(scramble).substr(0, 32);
    fmt::format_to(
        std::back_inserter(text),
        R"({{"Node":{{"ID":{},"Name":"node-{}.{}","Addresses":["{}","{}"],"Key":"{}",)"
        R"("AllowedIPs":["{}/32","{}/128"],"Endpoints":["203.0.113.{}:{}"],"NodeKey":"{}",)"
        R"("OS":"{}","UserID":{}}}}})",
        nodeId(number), number + 1, account.network, ipv4(host), ipv6(host), machine, ipv4(host),
        ipv6(host), pick >> 24 & 255, 40100 + pick % 64, key(scramble),
        systems[(pick >> 32) % systems.size()],
        account.userId + static_cast<std::int64_t>((pick >> 16) % (colleagues.size() + 1)));
}

std::string peersText(const Account& account, std::size_t count) {
    std::string text;
    text.reserve(count * 360 + 2);
    text += '[';
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0)
            text += ',';
        appendPeer(text, account, i);
    }
    text += ']';
    return text;
}

json::Object userProfiles(const Account& account) {
    json::Object profiles;
    const auto add = [&](std::int64_t userId, std::string_view login, std::string_view display) {
        const auto url = fmt::format("https://people.{}/{}", account.network, userId);
        profiles.push_back(
            {std::to_string(userId),
             json::Object{{"LoginName", login}, {"DisplayName", display}, {"ProfileURL", url}}});
    };
    add(account.userId, account.email, account.displayName);
    auto userId = account.userId;
    for (const auto& [login, displayName] : colleagues)
        add(++userId, fmt::format("{}@{}", login, account.network), displayName);
    return profiles;
}

json::Object ownNode(const Account& account, const std::string& nodeKey) {
    Scramble scramble(seedOf(account));
    json::Array addresses;
    json::Array allowed;
    for (const std::string& address : ownAddresses(account)) {
        addresses.emplace_back(address);
        allowed.emplace_back(address + (address.find(':') == std::string::npos ? "/32" : "/128"));
    }
    return {{"ID", account.nodeId},
            {"Name", account.nodeName()},
            {"Addresses", addresses},
            {"Key", key(scramble)},
            {"AllowedIPs", allowed},
            {"Endpoints", json::Array{"198.51.100.24:40100", "192.168.11.5:40100"}},
            {"NodeKey", nodeKey},
            {"OS", "linux"},
            {"UserID", account.userId}};
}

} // namespace

std::vector<std::string> ownAddresses(const Account& account) {
    const std::uint32_t host = hostNumber(account, 0);
    return {ipv4(host), ipv6(host)};
}

std::string NetworkMap::text(const Account& account, std::size_t peerCount) {
    if (peers.empty() || peersAccount != account.id || peersCount != peerCount) {
        peers = peersText(account, peerCount);
        peersAccount = account.id;
        peersCount = peerCount;
    }
    Scramble scramble(~seedOf(account));
    const std::string nodeKey = key(scramble);
    const json::Object own{{"SelfNode", json::Object{{"Node", ownNode(account, nodeKey)}}},
                           {"NodeKey", nodeKey},
                           {"PrivateWgKey", key(scramble)},
                           {"DNSName", account.nodeName()},
                           {"UserProfiles", userProfiles(account)}};
    std::string text = json::serialize(own);
    text.pop_back();
    text += R"(,"Peers":)";
    text += peers;
    text += '}';
    return text;
}

} // namespace quoxelin::sim
