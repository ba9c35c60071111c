#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include <gtest/gtest.h>

namespace quoxelin {

namespace {

std::optional<HashiBusState> stateFrom(const std::string& json) {
    const auto notify = json::decode<HashiBusNotify>("{\"State\":" + json + "}");
    return notify ? notify->state : std::nullopt;
}

} // namespace

TEST(HashiBusState, isANumberOrANameInAnyCase) {
    EXPECT_EQ(stateFrom("0"), HashiBusState::noState);
    EXPECT_EQ(stateFrom("1"), HashiBusState::needsLogin);
    EXPECT_EQ(stateFrom("2"), HashiBusState::stopped);
    EXPECT_EQ(stateFrom("3"), HashiBusState::starting);
    EXPECT_EQ(stateFrom("4"), HashiBusState::running);
    EXPECT_EQ(stateFrom("4.0"), HashiBusState::running);
    EXPECT_EQ(stateFrom("\"NoState\""), HashiBusState::noState);
    EXPECT_EQ(stateFrom("\"needslogin\""), HashiBusState::needsLogin);
    EXPECT_EQ(stateFrom("\"STOPPED\""), HashiBusState::stopped);
    EXPECT_EQ(stateFrom("\"Starting\""), HashiBusState::starting);
    for (const auto* const running : {"\"RUNNING\"", "\"running\"", "\"Running\"", "\"rUnNiNg\""})
        EXPECT_EQ(stateFrom(running), HashiBusState::running);
}

TEST(HashiBusState, isEmptyForAnyOtherNumberOrName) {
    for (const auto* const unknown : {"9", "-1", "5", "9223372036854775807", "\"\"", "\"Runnin\"",
                                      "\"Running \"", "\"4\"", "\"Paused\""})
        EXPECT_EQ(stateFrom(unknown), HashiBusState::noState) << unknown;
}

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

TEST(HashiBusNotify, ignoresUnknownKeysAtEveryLevel) {
    HashiBusNotify expected;
    expected.netMap.emplace().peers = std::vector{NodeView{Node{3, {}, {}, {}, {}, {}, {}, {}, 4}}};
    EXPECT_EQ(json::decode<HashiBusNotify>(R"({"x":1,"version":2,"NetMap":{"x":[],"Peers":[
        {"x":{},"Node":{"x":1e999,"ID":3,"id":"no","UserID":4}}]}})"),
              expected);
}

} // namespace quoxelin
