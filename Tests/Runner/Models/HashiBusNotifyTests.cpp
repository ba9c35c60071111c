#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include <gtest/gtest.h>

namespace quoxelin {

TEST(HashiBusNotify, takesEveryMember) {
    HashiBusNotify expected;
    expected.version = "1.2";
    expected.errMessage = "e";
    expected.state = HashiBusState::running;
    expected.interactiveLoginUrl = "u";
    expected.jailed = false;
    expected.jailReason = "r";
    auto& map = expected.netMap.emplace();
    map.selfNode = NodeView{Node{1, "n", {{"a"}}, "k", {{"i"}}, {{"e"}}, "nk", "linux", 2}};
    map.nodeKey = "nk";
    map.privateWgKey = "pk";
    map.peers = std::vector{NodeView{Node{3, {}, {}, {}, {}, {}, {}, {}, 4}}, NodeView{}};
    map.dnsName = "d";
    map.userProfiles = std::map<std::string, UserProfile>{{"2", {"l", "d", "p"}}, {"", {}}};
    const std::string json = R"({"Version":"1.2","ErrMessage":"e","State":"Running","NetMap":{)"
                             R"("SelfNode":{"Node":{"ID":1,"Name":"n","Addresses":["a"],)"
                             R"("Key":"k","AllowedIPs":["i"],"Endpoints":["e"],"NodeKey":"nk",)"
                             R"("OS":"linux","UserID":2}},"NodeKey":"nk","PrivateWgKey":"pk",)"
                             R"("Peers":[{"Node":{"ID":3,"UserID":4}},{}],"DNSName":"d",)"
                             R"("UserProfiles":{"":{},"2":{"LoginName":"l","DisplayName":"d",)"
                             R"("ProfileURL":"p"}}},"InteractiveLoginUrl":"u","Jailed":false,)"
                             R"("JailReason":"r"})";
    EXPECT_EQ(json::decode<HashiBusNotify>(json), expected);
    EXPECT_EQ(json::encode(expected), json);
}

TEST(HashiBusNotify, takesAStateByItsNumberAndUnknownOnesAsNone) {
    const auto stateOf = [](std::int64_t number) {
        const auto notify =
            json::decode<HashiBusNotify>(R"({"State":)" + std::to_string(number) + "}");
        return notify ? notify->state : std::nullopt;
    };
    EXPECT_EQ(stateOf(0), HashiBusState::noState);
    EXPECT_EQ(stateOf(1), HashiBusState::needsLogin);
    EXPECT_EQ(stateOf(4), HashiBusState::running);
    for (const std::int64_t unknown : {std::int64_t{-1}, std::int64_t{5}, -(std::int64_t{1} << 40),
                                       std::int64_t{1} << 40, INT64_MIN})
        EXPECT_EQ(stateOf(unknown), HashiBusState::noState) << unknown;
}

TEST(HashiBusNotify, keepsEveryDigitOfAnIdentifier) {
    const auto notify = json::decode<HashiBusNotify>(
        R"({"NetMap":{"SelfNode":{"Node":{"ID":9007199254740993.0,"UserID":9223372036854775807e0}},)"
        R"("Peers":[{"Node":{"ID":90071992547409930e-1,"UserID":4}}]}})");
    ASSERT_TRUE(notify);
    EXPECT_EQ(notify->netMap->selfNode->node->id, 9007199254740993);
    EXPECT_EQ(notify->netMap->selfNode->node->userID, INT64_MAX);
    EXPECT_EQ(notify->netMap->peers->get()[0].node->id, 9007199254740993);
}

} // namespace quoxelin
