#include "Base/JsonDecoder.h"
#include "Runner/Models/HashiBus/DaemonStatus.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"

#include <gtest/gtest.h>

namespace quoxelin {

TEST(DaemonStatus, takesEveryMember) {
    DaemonStatus expected;
    expected.backendState = "Running";
    expected.interactiveLoginUrl = "https://login";
    expected.quoxelinIps = {{"100.64.0.1", "fd7a::1"}};
    expected.selfNode = DaemonStatus::SelfNode{17, "laptop", {{"100.64.0.1"}}};
    expected.jailed = true;
    expected.jailReason = "unpaid";
    EXPECT_EQ(DaemonStatus::parse(R"({
        "backend_state":"Running","interactive_login_url":"https://login",
        "quoxelin_ips":["100.64.0.1","fd7a::1"],
        "self":{"id":17,"host_name":"laptop","quoxelin_ips":["100.64.0.1"]},
        "jailed":true,"jail_reason":"unpaid"})"),
              expected);
}

TEST(DaemonStatus, leavesMistypedMembersAbsent) {
    EXPECT_EQ(DaemonStatus::parse(R"({"backend_state":4,"interactive_login_url":null,
        "quoxelin_ips":["a",1],"self":null,"jailed":"true","jail_reason":["r"]})"),
              DaemonStatus());
    EXPECT_EQ(DaemonStatus::parse(R"({"quoxelin_ips":"a","jailed":1})"), DaemonStatus());
    EXPECT_EQ(DaemonStatus::parse(R"({"jailed":"x","backend_state":"s"})")->backendState, "s");
}

TEST(DaemonStatus, hasASelfNodeForAnyObject) {
    const auto self = [](const std::string& json) {
        return DaemonStatus::parse("{\"self\":" + json + ",\"backend_state\":\"s\"}")->selfNode;
    };
    EXPECT_EQ(self("{}"), DaemonStatus::SelfNode());
    EXPECT_EQ(self(R"({"id":"17","host_name":3,"quoxelin_ips":[1]})"), DaemonStatus::SelfNode());
    EXPECT_EQ(self(R"({"id":true})")->id, 0);
    EXPECT_EQ(self(R"({"id":null})")->id, 0);
    EXPECT_EQ(self(R"({"id":4.5})")->id, 0);
    EXPECT_EQ(self(R"({"id":17.0})")->id, 17);
    EXPECT_EQ(self(R"({"id":9223372036854775807})")->id, INT64_MAX);
    EXPECT_EQ(self(R"({"id":9223372036854775808})")->id, 0);
    EXPECT_EQ(self(R"({"id":99999999999999999999,"host_name":"h"})"),
              (DaemonStatus::SelfNode{0, "h", std::nullopt}));
    for (const auto* const other : {"\"x\"", "[]", "null", "1", "true"})
        EXPECT_EQ(self(other), std::nullopt) << other;
}

TEST(DaemonStatus, fillsTheOtherFieldsBesideAWrongSelf) {
    EXPECT_EQ(DaemonStatus::parse(R"({"self":[],"backend_state":"s"})")->backendState, "s");
}

TEST(DaemonStatus, takesNoEmailOrUserNameFromTheReply) {
    EXPECT_EQ(DaemonStatus::parse(R"({"email":"e","userName":"u","user_name":"u",
                                      "Email":"e","quoxelinIps":["x"]})"),
              DaemonStatus());
}

TEST(DaemonStatus, failsIfTheTopIsNotAnObject) {
    for (const auto* const body : {"", "[]", "null", "1", "\"x\"", "{", "{}x", "\xEF\xBB\xBF{}"})
        EXPECT_FALSE(DaemonStatus::parse(body).has_value()) << body;
}

TEST(ProfilesResponse, encodesToTheKeysItIsDecodedFrom) {
    const ProfilesResponse profiles{
        "a", {{"a", "A", 5, "e", true}, {"b", "B", std::nullopt, std::nullopt, false}}};
    EXPECT_EQ(json::encode(profiles),
              R"({"current_profile_id":"a","profiles":[)"
              R"({"id":"a","name":"A","node_id":5,"user_email":"e","is_current":true},)"
              R"({"id":"b","name":"B","is_current":false}]})");
    EXPECT_EQ(json::decode<ProfilesResponse>(json::encode(profiles)), profiles);
}

} // namespace quoxelin
