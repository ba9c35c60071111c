// Unusual lines: whether they are refused, why, and what is decoded.
#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include <gtest/gtest.h>

namespace quoxelin {

namespace {

using namespace std::string_view_literals;

/// The decoded line encoded again, or why it is refused.
std::string outcome(std::string_view line) {
    const auto notify = json::decode<HashiBusNotify>(line);
    return notify ? json::encode(*notify) : notify.error().description;
}

struct Case {
    std::string_view line;
    std::string_view outcome;
};

} // namespace

TEST(HashiBusNotifyLine, isRefusedUnlessItIsAllJson) {
    for (const auto line : {
             ""sv,
             " "sv,
             "{} {}"sv,
             "{}}"sv,
             "{"sv,
             "{}x"sv,
             "1f"sv,
             "\xEF\xBB\xBF{}"sv,
             R"({"Version":"a",})"sv,
             R"({"Version" "a"})"sv,
             R"({'Version':"a"})"sv,
             R"({Version:"a"})"sv,
             R"({"Version":"a")"sv,
             R"({"x":[1,]})"sv,
             R"({"x":[1 2]})"sv,
             R"({"x":nul})"sv,
             R"({"x":nulx})"sv,
             R"({"x":tru})"sv,
             R"({"x":truex})"sv,
             R"({"x":NaN})"sv,
             R"({"x":[}]})"sv,
             R"({"Version":"\x"})"sv,
             R"({"Version":"\u00g0"})"sv,
             R"({"Version":"\ud800"})"sv,
             R"({"Version":"\udc00"})"sv,
             R"({"Version":"\ud800\u0041"})"sv,
             R"({"x":"\ud800"})"sv,
             R"({"x":"\ud800x"})"sv,
             R"({"x":"\ud800\ud800"})"sv,
             "{\"Version\":\"a\tb\"}"sv,
             "{\"x\":\"a\x01\"}"sv,
             R"({"Version":"a})"sv,
             R"({"State":04})"sv,
             R"({"State":+4})"sv,
             R"({"State":4.})"sv,
             R"({"State":.4})"sv,
             R"({"State":4e})"sv,
             R"({"State":-})"sv,
             R"({"x":01})"sv,
             R"({"x":1e400.5})"sv,
             R"({"x":0123456789012345678901234567890})"sv,
             R"({"x":--123456789012345678901234567890})"sv,
             R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2}}]},"x":tru})"sv,
             "{}\0"sv,
             "\0{}"sv,
             "{\"Version\":\"a\0b\"}"sv,
             "{\"Version\":\"\xFF\"}"sv,
             "{\"x\":\"\xC0\x80\"}"sv,
             "{\"x\":\"\xED\xA0\x80\"}"sv,
             "{\"\xFF\":1}"sv,
             "{\"x\":\"\xF4\x90\x80\x80\"}"sv,
             "{\"x\":\"\xE3\x81\"}"sv,
         })
        EXPECT_EQ(outcome(line).substr(0, 9), "no JSON: ") << line;
}

TEST(HashiBusNotifyLine, isRefusedForTheFirstWrongMember) {
    for (const auto& [line, reason] : {
             Case{"[]", "the whole should be an object"},
             Case{"null", "the whole should be an object"},
             Case{R"({"State":4.5})", "State should be a string"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":9223372036854775808,"UserID":1}}]}})",
                  "NetMap.Peers[0].Node.ID should be an integer of at most 64 bits"},
             Case{R"({"Version":"a","Version":1})", "Version should be a string"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2,"ID":"x"}}]}})",
                  "NetMap.Peers[0].Node.ID should be an integer of at most 64 bits"},
             Case{R"({"NetMap":{"UserProfiles":{"1":{},"1":null}}})",
                  "NetMap.UserProfiles.1 should be an object"},
             Case{R"({"NetMap":{"UserProfiles":{"1":7,"2":8,"1":{}}}})",
                  "NetMap.UserProfiles.2 should be an object"},
             Case{R"({"Version":1})", "Version should be a string"},
             Case{R"({"State":99999999999999999999})", "State should be a string"},
             Case{R"({"Jailed":1})", "Jailed should be a boolean"},
             Case{R"({"State":true})", "State should be a string"},
             Case{R"({"State":[]})", "State should be a string"},
             Case{R"({"NetMap":{"Peers":{}}})", "NetMap.Peers should be an array"},
             Case{R"({"NetMap":{"Peers":[null]}})", "NetMap.Peers[0] should be an object"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2}},{"Node":{"ID":3}}]}})",
                  "NetMap.Peers[1].Node.UserID is missing"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"UserID":2}}]}})",
                  "NetMap.Peers[0].Node.ID is missing"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":null,"UserID":2}}]}})",
                  "NetMap.Peers[0].Node.ID should be an integer of at most 64 bits"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2,"Addresses":["a",null]}}]}})",
                  "NetMap.Peers[0].Node.Addresses[1] should be a string"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2,"OS":7,"Name":8}}]}})",
                  "NetMap.Peers[0].Node.Name should be a string"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"OS":7,"UserID":2}}]}})",
                  "NetMap.Peers[0].Node.ID is missing"},
             Case{R"({"NetMap":{"UserProfiles":[]}})", "NetMap.UserProfiles should be an object"},
             Case{R"({"NetMap":{"SelfNode":{"Node":{"ID":1}}}})",
                  "NetMap.SelfNode.Node.UserID is missing"},
             Case{R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2}}]},"Jailed":1})",
                  "Jailed should be a boolean"},
         })
        EXPECT_EQ(outcome(line), reason) << line;
}

TEST(HashiBusNotifyLine, isReadHoweverItIsWritten) {
    for (
        const auto& [line, expected] : {
            Case{" \t\r\n{} \r", R"({})"},
            Case{R"({"Version":"\u0061\n\/\ud83d\ude00"})", R"({"Version":"a\u000a/😀"})"},
            Case{R"({"\u0056ersion":"a"})", R"({"Version":"a"})"},
            Case{R"({"version":"a"})", R"({})"},
            Case{R"({"State":4})", R"({"State":"Running"})"},
            Case{R"({"x":1e-400})", R"({})"},
            Case{R"({"Version":"a","Version":null})", R"({})"},
            Case{R"({"NetMap":{"Peers":[{"Node":{"ID":"x","UserID":2,"ID":1}}]}})",
                 R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2}}]}})"},
            Case{R"({"NetMap":{"Peers":[],"Peers":[{"Node":{"ID":1,"UserID":2}}]}})",
                 R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2}}]}})"},
            Case{R"({"NetMap":{"Peers":[{"Node":{}}],"Peers":[]}})", R"({"NetMap":{"Peers":[]}})"},
            Case{R"({"NetMap":{"Peers":[{"Node":{},"Node":null}]}})",
                 R"({"NetMap":{"Peers":[{}]}})"},
            Case{R"({"NetMap":{"UserProfiles":{"1":{"LoginName":"a"},"\u0031":{}}}})",
                 R"({"NetMap":{"UserProfiles":{"1":{}}}})"},
            Case{R"({"Version":null,"State":null,"NetMap":null,"Jailed":null})", R"({})"},
            Case{R"({"NetMap":{"Peers":null}})", R"({"NetMap":{}})"},
            Case{R"({"NetMap":{"Peers":[{"Node":null}]}})", R"({"NetMap":{"Peers":[{}]}})"},
            Case{
                R"({"NetMap":{"Peers":[{"Node":{"ID":1,"UserID":2,"Addresses":null,"Endpoints":[]}}]}})",
                R"({"NetMap":{"Peers":[{"Node":{"ID":1,"Endpoints":[],"UserID":2}}]}})"},
        })
        EXPECT_EQ(outcome(line), expected) << line;
    for (
        const auto line : {
            "{}"sv,
            R"({"Version":"\u0000"})"sv,
            R"({"NetMap":{"Peers":[{"Node":{"ID":9223372036854775807,"UserID":-9223372036854775808}}]}})"sv,
            R"({"NetMap":{}})"sv,
            R"({"NetMap":{"Peers":[]}})"sv,
            R"({"NetMap":{"Peers":[{}]}})"sv,
            R"({"NetMap":{"UserProfiles":{"":{}}}})"sv,
        })
        EXPECT_EQ(outcome(line), line);
}

} // namespace quoxelin
