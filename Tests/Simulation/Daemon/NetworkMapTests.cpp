#include "Simulation/Daemon/NetworkMap.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <set>

namespace quoxelin::sim {
namespace {

namespace json = boost::json;

const Account account = firstAccounts().front();

TEST(NetworkMap, describesTheOwnNodeAndItsUser) {
    const json::value map = json::parse(NetworkMap().text(account, 3));
    const json::value& node = map.at("SelfNode").at("Node");
    EXPECT_EQ(node.at("ID"), account.nodeId);
    EXPECT_EQ(node.at("Name"), "minas-laptop.hoshizora.quoxelin.example");
    EXPECT_EQ(node.at("NodeKey"), map.at("NodeKey"));
    const json::value& user =
        map.at("UserProfiles").at(std::to_string(node.at("UserID").as_int64()));
    EXPECT_EQ(user.at("LoginName").as_string(), account.email);
    EXPECT_EQ(user.at("DisplayName").as_string(), account.displayName);
}

TEST(NetworkMap, givesEveryPeerAllMembersAndAKnownUser) {
    const json::value map = json::parse(NetworkMap().text(account, 200));
    for (const json::value& peer : map.at("Peers").as_array()) {
        const json::object& node = peer.at("Node").as_object();
        for (const char* member : {"ID", "Name", "Addresses", "Key", "AllowedIPs", "Endpoints",
                                   "NodeKey", "OS", "UserID"}) {
            EXPECT_TRUE(node.contains(member)) << member;
        }
        EXPECT_TRUE(map.at("UserProfiles")
                        .as_object()
                        .contains(std::to_string(node.at("UserID").as_int64())));
    }
}

TEST(NetworkMap, givesEveryNodeAddressesAndIdsOfItsOwn) {
    const json::value map = json::parse(NetworkMap().text(account, 20000));
    std::set<std::string> seen;
    const auto see = [&](const json::value& node) {
        EXPECT_TRUE(seen.insert(std::to_string(node.at("ID").as_int64())).second);
        const json::array& addresses = node.at("Addresses").as_array();
        ASSERT_EQ(addresses.size(), 2u);
        EXPECT_EQ(addresses[0].as_string().find("100."), 0u);
        EXPECT_EQ(addresses[1].as_string().find("fd7a:"), 0u);
        for (const json::value& address : addresses) {
            EXPECT_TRUE(seen.insert(std::string(address.as_string())).second);
        }
    };
    see(map.at("SelfNode").at("Node"));
    for (const json::value& peer : map.at("Peers").as_array()) {
        see(peer.at("Node"));
    }
    EXPECT_EQ(seen.size(), 3u * 20001u);
}

TEST(NetworkMap, staysInsideTheSharedAddressSpace) {
    for (const std::int64_t nodeId : {std::int64_t{1}, std::int64_t{0xFFFFF}, account.nodeId}) {
        Account other = account;
        other.nodeId = nodeId;
        const std::string first = ownAddresses(other).front();
        const int second = std::stoi(first.substr(4));
        EXPECT_GE(second, 64) << first;
        EXPECT_LE(second, 127) << first;
    }
}

TEST(NetworkMap, isTheSameEveryTime) {
    EXPECT_EQ(NetworkMap().text(account, 50), NetworkMap().text(account, 50));
}

TEST(NetworkMap, followsTheAccountAndTheNumberOfPeers) {
    NetworkMap map;
    const Account other = firstAccounts().back();
    const std::string first = map.text(account, 2);
    EXPECT_EQ(json::parse(map.text(account, 3)).at("Peers").as_array().size(), 3u);
    EXPECT_EQ(map.text(other, 3), NetworkMap().text(other, 3));
    EXPECT_EQ(map.text(account, 2), first);
}

TEST(NetworkMap, canBeWithoutPeers) {
    EXPECT_TRUE(json::parse(NetworkMap().text(account, 0)).at("Peers").as_array().empty());
}

} // namespace
} // namespace quoxelin::sim
