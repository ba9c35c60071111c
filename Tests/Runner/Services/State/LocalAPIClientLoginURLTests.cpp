#include "Runner/Services/State/LocalAPIClient.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(LocalAPIClientLoginURL, isFoundUnderEverySpelling) {
    for (const auto* const key :
         {"interactive_login_url", "interactiveLoginURL", "interactiveLoginUrl",
          "InteractiveLoginURL", "InteractiveLoginUrl"}) {
        const auto member = std::string("{\"") + key + "\":\"u\"}";
        EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(member), "u");
        EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL("{\"a\":" + member + "}"), "u");
    }
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(R"({"INTERACTIVELOGINURL":"u"})"),
              std::nullopt);
}

TEST(LocalAPIClientLoginURL, isPreferredAtTheTopInTheOrderOfTheSpellings) {
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"InteractiveLoginURL":"c","a":{"interactive_login_url":"n"},
                      "interactiveLoginURL":"b","interactive_login_url":"a"})"),
              "a");
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"a":{"interactive_login_url":"n"},"InteractiveLoginUrl":"top"})"),
              "top");
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"InteractiveLoginURL":"b","interactiveLoginUrl":"a"})"),
              "a");
}

TEST(LocalAPIClientLoginURL, isSearchedDepthFirstInTheDocumentsOrder) {
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"z":[1,{"q":{"InteractiveLoginURL":"deep"}}],
                      "a":{"interactive_login_url":"shallow"}})"),
              "deep");
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"a":{"n":{"interactiveLoginUrl":"1"},"interactive_login_url":"2"}})"),
              "1");
    EXPECT_EQ(
        LocalAPIClient::extractInteractiveLoginURL(R"({"a":[[],[[{"InteractiveLoginUrl":"u"}]]]})"),
        "u");
}

TEST(LocalAPIClientLoginURL, isSkippedIfItIsEmptyOrNotAString) {
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"interactive_login_url":"","a":{"interactiveLoginURL":"",
                      "b":{"interactiveLoginURL":"u"}}})"),
              "u");
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"interactive_login_url":{"interactive_login_url":"inner"}})"),
              "inner");
    EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(
                  R"({"interactive_login_url":"old","interactive_login_url":""})"),
              std::nullopt);
}

TEST(LocalAPIClientLoginURL, isAbsentIfTheReplyIsNotAnObject) {
    for (const auto* const body : {"", "nonsense", R"("interactive_login_url")", "null",
                                   R"([{"interactive_login_url":"u"}])", "{\"a\":\"\xFF\"}"})
        EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(body), std::nullopt) << body;
}

} // namespace quoxelin::testing
