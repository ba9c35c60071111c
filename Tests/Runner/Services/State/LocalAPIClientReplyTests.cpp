#include "Tests/Runner/Services/State/LocalAPIClientFixture.h"

namespace quoxelin::testing {

class LocalAPIClientReply : public LocalAPIClientFixture {};

TEST_F(LocalAPIClientReply, refusesAReplyWithoutAnEmptyLine) {
    for (const auto* const bytes :
         {"", "HTTP/1.1 200 OK", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 404 No\n\n", "\r\n\r"}) {
        answerLogin(bytes);
        expectTransportFailure({Case::badHTTPResponse});
    }
}

TEST_F(LocalAPIClientReply, readsAReplyThatComesInPieces) {
    for (const std::size_t size : {1, 2, 3, 7}) {
        daemon.deliveries["/localapi/v0/status"].chunkSize = size;
        EXPECT_EQ(getStatus()->backendState, "NeedsLogin");
    }
}

TEST_F(LocalAPIClientReply, turnsAnErrorStatusIntoAnErrorWithTheBodysText) {
    daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::status(404, "no such profile"));
    const auto receiver = triggerLogin();
    const auto error = receiver.outcome().error();
    EXPECT_EQ(error, (LocalAPIError{Case::httpError, "no such profile", 404}));
    EXPECT_EQ(error.errorDescription(), "HTTP error 404: no such profile");
    EXPECT_EQ(log(), std::vector<std::string>{
                         "[LocalAPI] HTTP error 404 for POST /localapi/v0/login: no such profile"});
}

TEST_F(LocalAPIClientReply, drawsTheLineBetween399And400) {
    answerLogin("HTTP/1.1 399 x\r\n\r\n");
    EXPECT_TRUE(triggerLogin().outcome().has_value());
    answerLogin("HTTP/1.1 400 x\r\n\r\n");
    EXPECT_EQ(triggerLogin().outcome().error(), (LocalAPIError{Case::httpError, "", 400}));
}

TEST_F(LocalAPIClientReply, treatsABodyThatIsNotUtf8AsAnEmptyErrorText) {
    answerLogin("HTTP/1.1 500 x\r\n\r\n\xFFoops");
    EXPECT_EQ(triggerLogin().outcome().error(), (LocalAPIError{Case::httpError, "", 500}));
    EXPECT_EQ(log(),
              std::vector<std::string>{"[LocalAPI] HTTP error 500 for POST /localapi/v0/login: "});
}

TEST_F(LocalAPIClientReply, findsAnErrorStatusHoweverTheLineIsSpaced) {
    for (const auto* const bytes :
         {"HTTP/1.1   404   Not Found\r\n\r\n", "  HTTP/1.1 404\r\n\r\n", "x 404 \r\nA: b\r\n\r\n",
          "x +404 y\r\n\r\n", "x 000404\r\n\r\n"}) {
        answerLogin(bytes);
        EXPECT_EQ(triggerLogin().outcome().error(), (LocalAPIError{Case::httpError, "", 404}))
            << bytes;
    }
    answerLogin("x 99999999999 y\r\n\r\n");
    EXPECT_EQ(triggerLogin().outcome().error().statusCode, 99'999'999'999);
}

TEST_F(LocalAPIClientReply, treatsAnUnreadableStatusAsSuccess) {
    for (const auto* const header :
         {"OK", "", " ", "HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 4o4 x", "HTTP/1.1 404.0", "x 0x194",
          "x -404", "x +-404", "x +", "x 404\t", "x 99999999999999999999 y", "x 404 \xFF",
          "x 200 OK\r\nA: 404 404", "\r\nHTTP/1.1 404"}) {
        daemon.answer(
            "GET", "/localapi/v0/status",
            SimulatedDaemon::raw(std::string(header) + "\r\n\r\n{\"backend_state\":\"s\"}"));
        const auto status = getStatus();
        ASSERT_TRUE(status.has_value()) << header;
        EXPECT_EQ(status->backendState, "s");
    }
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientReply, keepsALaterEmptyLineInTheBody) {
    answerLogin("HTTP/1.1 500 x\r\n\r\na\r\n\r\nb");
    EXPECT_EQ(triggerLogin().outcome().error().message, "a\r\n\r\nb");
}

TEST_F(LocalAPIClientReply, stopsReadingAReplyThatIsTooLarge) {
    const std::string header = "HTTP/1.1 500 x\r\n\r\n";
    answerLogin(header + std::string(2'000'000, 'x'));
    const auto receiver = triggerLogin();
    // At most part of one read exceeds the limit: 64 reads of 16,384 bytes reach it exactly.
    EXPECT_EQ(receiver.outcome().error().message.size(), 65 * 16'384 - header.size());
    ASSERT_EQ(log().size(), 2u);
    EXPECT_EQ(log()[0], "[LocalAPI] Response too large (1064960 bytes), truncating");
}

TEST_F(LocalAPIClientReply, readsAReplyOfExactlyTheLimit) {
    const std::string header = "HTTP/1.1 500 x\r\n\r\n";
    answerLogin(header + std::string(1'048'576 - header.size(), 'x'));
    EXPECT_EQ(triggerLogin().outcome().error().message.size(), 1'048'576 - header.size());
    EXPECT_EQ(log().size(), 1u);
}

TEST_F(LocalAPIClientReply, parsesTheBeginningOfATooLargeReply) {
    std::string body = R"({"interactive_login_url":"u"})";
    body.resize(2'000'000, ' ');
    answerLogin("HTTP/1.1 200 OK\r\n\r\n" + body);
    EXPECT_EQ(startLogin(), "u");
    EXPECT_EQ(log(), std::vector<std::string>{
                         "[LocalAPI] Response too large (1064960 bytes), truncating"});
}

TEST_F(LocalAPIClientReply, refusesAStatusThatIsNotAnObject) {
    for (const auto* const body : {"", "[]", "null", "{", "\"x\""}) {
        daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::ok(body));
        EXPECT_EQ(getStatus().error(), LocalAPIError{Case::decodeFailed}) << body;
    }
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientReply, getsTheProfiles) {
    daemon.answer("GET", "/localapi/v0/profiles", SimulatedDaemon::ok(R"({
        "current_profile_id":"b",
        "profiles":[{"id":"b","name":"B","is_current":true}]})"));
    EXPECT_EQ(getProfiles(),
              (ProfilesResponse{"b", {{"b", "B", std::nullopt, std::nullopt, true}}}));
}

TEST_F(LocalAPIClientReply, logsWhyProfilesCannotBeDecoded) {
    daemon.answer("GET", "/localapi/v0/profiles", SimulatedDaemon::ok(R"({"profiles":[]})"));
    EXPECT_EQ(getProfiles().error(), LocalAPIError{Case::decodeFailed});
    EXPECT_EQ(log(), std::vector<std::string>{"[LocalAPI] Failed to decode profiles response: "
                                              "current_profile_id is missing"});
}

TEST_F(LocalAPIClientReply, startsALoginWhateverTheStatusLineSays) {
    answerLogin("HTTP/1.1 500 x\r\n\r\n{\"interactive_login_url\":\"https://login\"}");
    EXPECT_EQ(startLogin(), "https://login");
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientReply, failsToStartALoginWithoutAURL) {
    for (const auto* const body : {"", "{}", "[]", R"({"interactive_login_url":""})",
                                   R"({"interactive_login_url":1})", "no JSON"}) {
        answerLogin(std::string("HTTP/1.1 200 OK\r\n\r\n") + body);
        EXPECT_EQ(startLogin().error(), LocalAPIError{Case::decodeFailed}) << body;
    }
}

} // namespace quoxelin::testing
