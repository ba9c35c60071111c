#include "Simulation/Daemon/NetworkMap.h"

#include "Tests/Simulation/Daemon/Tree.h"

#include <gtest/gtest.h>
#include <set>

namespace quoxelin::sim {
namespace {

const Account account = firstAccounts().front();

TEST(NetworkMap, describesTheOwnNodeAndItsUser) {
    const Tree map = Tree::parse(NetworkMap().text(account, 3));
    const Tree node = map.at("SelfNode").at("Node");
    EXPECT_EQ(node.at("ID"), account.nodeId);
    EXPECT_EQ(node.at("Name"), "minas-laptop.hoshizora.quoxelin.example");
    EXPECT_EQ(node.at("NodeKey"), map.at("NodeKey"));
    const Tree user = map.at("UserProfiles").at(std::to_string(node.at("UserID").number()));
    EXPECT_EQ(user.at("LoginName").text(), account.email);
    EXPECT_EQ(user.at("DisplayName").text(), account.displayName);
}

TEST(NetworkMap, givesEveryPeerAllMembersAndAKnownUser) {
    const Tree map = Tree::parse(NetworkMap().text(account, 200));
    for (std::size_t i = 0; i < map.at("Peers").size(); ++i) {
        const Tree node = map.at("Peers").at(i).at("Node");
        for (const char* member : {"ID", "Name", "Addresses", "Key", "AllowedIPs", "Endpoints",
                                   "NodeKey", "OS", "UserID"})
            EXPECT_TRUE(node.contains(member)) << member;
        EXPECT_TRUE(map.at("UserProfiles").contains(std::to_string(node.at("UserID").number())));
    }
}

TEST(NetworkMap, givesEveryNodeDistinctAddressesAndIds) {
    const Tree map = Tree::parse(NetworkMap().text(account, 20000));
    std::set<std::string> seen;
    const auto see = [&](const Tree& node) {
        EXPECT_TRUE(seen.insert(std::to_string(node.at("ID").number())).second);
        const Tree addresses = node.at("Addresses");
        ASSERT_EQ(addresses.size(), 2u);
        EXPECT_EQ(addresses.at(0).text().find("100."), 0u);
        EXPECT_EQ(addresses.at(1).text().find("fd7a:"), 0u);
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_TRUE(seen.insert(addresses.at(i).text()).second);
    };
    see(map.at("SelfNode").at("Node"));
    for (std::size_t i = 0; i < map.at("Peers").size(); ++i)
        see(map.at("Peers").at(i).at("Node"));
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

TEST(NetworkMap, followsTheAccountAndTheNumberOfPeers) {
    NetworkMap map;
    const Account other = firstAccounts().back();
    const std::string first = map.text(account, 2);
    EXPECT_EQ(Tree::parse(map.text(account, 3)).at("Peers").size(), 3u);
    EXPECT_EQ(map.text(other, 3), NetworkMap().text(other, 3));
    EXPECT_EQ(map.text(account, 2), first);
}

TEST(NetworkMap, mayHaveNoPeers) {
    EXPECT_TRUE(Tree::parse(NetworkMap().text(account, 0)).at("Peers").size() == 0);
}

} // namespace
} // namespace quoxelin::sim
