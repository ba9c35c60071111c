#include "Runner/Services/State/LocalAPIClient.h"

#include <array>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// In the order of preference.
constexpr std::array spellings = {"interactive_login_url", "interactiveLoginURL",
                                  "interactiveLoginUrl", "InteractiveLoginURL",
                                  "InteractiveLoginUrl"};

constexpr auto loginURL = &LocalAPIClient::extractInteractiveLoginURL;

} // namespace

TEST(LocalAPIClientLoginURL, isFoundUnderEverySpelling) {
    for (const auto* const key : spellings) {
        const auto member = std::string("{\"") + key + "\":\"u\"}";
        EXPECT_EQ(loginURL(member), "u");
        EXPECT_EQ(loginURL("{\"a\":" + member + "}"), "u");
    }
    EXPECT_EQ(loginURL(R"({"INTERACTIVELOGINURL":"u"})"), std::nullopt);
}

TEST(LocalAPIClientLoginURL, isPreferredAtTheTopInTheOrderOfTheSpellings) {
    EXPECT_EQ(loginURL(
                  R"({"InteractiveLoginURL":"c","a":{"interactive_login_url":"n"},
                      "interactiveLoginURL":"b","interactive_login_url":"a"})"),
              "a");
    EXPECT_EQ(loginURL(R"({"a":{"interactive_login_url":"n"},"InteractiveLoginUrl":"top"})"),
              "top");
    for (std::size_t i = 1; i < spellings.size(); ++i)
        EXPECT_EQ(loginURL(fmt::format(R"({{"{}":"b","{}":"a"}})", spellings[i], spellings[i - 1])),
                  "a");
}

TEST(LocalAPIClientLoginURL, isSearchedDepthFirstInTheDocumentsOrder) {
    EXPECT_EQ(loginURL(
                  R"({"z":[1,{"q":{"InteractiveLoginURL":"deep"}}],
                      "a":{"interactive_login_url":"shallow"}})"),
              "deep");
    EXPECT_EQ(loginURL(R"({"a":{"n":{"interactiveLoginUrl":"1"},"interactive_login_url":"2"}})"),
              "1");
    EXPECT_EQ(loginURL(R"({"a":[[],[[{"InteractiveLoginUrl":"u"}]]]})"), "u");
}

TEST(LocalAPIClientLoginURL, isSkippedIfItIsEmptyOrNotAString) {
    EXPECT_EQ(loginURL(
                  R"({"interactive_login_url":"","a":{"interactiveLoginURL":"",
                      "b":{"interactiveLoginURL":"u"}}})"),
              "u");
    EXPECT_EQ(loginURL(R"({"interactive_login_url":{"interactive_login_url":"inner"}})"), "inner");
    EXPECT_EQ(loginURL(R"({"interactive_login_url":"old","interactive_login_url":""})"),
              std::nullopt);
}

TEST(LocalAPIClientLoginURL, isAbsentIfTheReplyIsNotAnObject) {
    for (const auto* const body : {"", "nonsense", R"("interactive_login_url")", "null",
                                   R"([{"interactive_login_url":"u"}])", "{\"a\":\"\xFF\"}"})
        EXPECT_EQ(loginURL(body), std::nullopt) << body;
}

} // namespace quoxelin::testing
