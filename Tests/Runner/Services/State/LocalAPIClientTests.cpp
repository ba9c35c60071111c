#include "Runner/Services/State/LocalAPIClient.h"

#include "Tests/Support/LinkFixture.h"

#include <cerrno>

namespace quoxelin::testing {

namespace {

using Case = LocalAPIError::Case;

/// Remembers what a completion was called with, and how often.
template <typename T>
struct Receiver {
    std::vector<Result<T, LocalAPIError>> outcomes;

    Completion<T, LocalAPIError> completion() {
        return [this](Result<T, LocalAPIError> outcome) { outcomes.push_back(std::move(outcome)); };
    }

    const Result<T, LocalAPIError>& outcome() const {
        if (outcomes.size() != 1)
            throw std::logic_error("completed " + std::to_string(outcomes.size()) + " times");
        return outcomes.front();
    }
};

constexpr const char* exactLogin = "POST /localapi/v0/login HTTP/1.1\r\n"
                                   "Host: local-quoxelind.sock\r\n"
                                   "Content-Length: 0\r\n"
                                   "Connection: close\r\n"
                                   "\r\n";

} // namespace

class LocalAPIClientTest : public LinkFixture {
  protected:
    Receiver<void> triggerLogin() {
        Receiver<void> receiver;
        client.triggerLogin(receiver.completion());
        dispatch.runUntilIdle();
        return receiver;
    }

    Result<std::string, LocalAPIError> startLogin() {
        Receiver<std::string> receiver;
        client.startLogin(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    Result<DaemonStatus, LocalAPIError> getStatus() {
        Receiver<DaemonStatus> receiver;
        client.getStatus(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    Result<ProfilesResponse, LocalAPIError> getProfiles() {
        Receiver<ProfilesResponse> receiver;
        client.getProfiles(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    /// Both ways of one exchange, which fail alike where the transport fails.
    void expectTransportFailure(const LocalAPIError& error) {
        EXPECT_EQ(triggerLogin().outcome().error(), error);
        EXPECT_EQ(startLogin().error(), error);
        EXPECT_EQ(daemon.openConnections(), 0u);
    }

    void answerLogin(std::string bytes) {
        daemon.answer("POST", "/localapi/v0/login", {std::move(bytes)});
    }

    LocalAPIClient client{{dispatch, daemon, logger}, socketPath};
};

TEST_F(LocalAPIClientTest, sendsExactBytesInOneWrite) {
    triggerLogin();
    startLogin();
    getStatus();
    ASSERT_EQ(daemon.requests().size(), 3u);
    EXPECT_EQ(daemon.requests()[0].bytes, exactLogin);
    EXPECT_EQ(daemon.requests()[1].bytes, exactLogin);
    EXPECT_EQ(daemon.requests()[2].bytes, "GET /localapi/v0/status HTTP/1.1\r\n"
                                          "Host: local-quoxelind.sock\r\n"
                                          "Content-Length: 0\r\n"
                                          "Connection: close\r\n"
                                          "\r\n");
    EXPECT_EQ(daemon.lastPath(), socketPath);
}

TEST_F(LocalAPIClientTest, switchesTheDaemonWithExactBodies) {
    daemon.answer("PATCH", "/localapi/v0/hatago", SimulatedDaemon::ok());
    Receiver<void> off, on;
    client.setWantRunning(false, off.completion());
    client.setWantRunning(true, on.completion());
    dispatch.runUntilIdle();
    EXPECT_TRUE(off.outcome().has_value());
    EXPECT_TRUE(on.outcome().has_value());
    ASSERT_EQ(daemon.requests().size(), 2u);
    EXPECT_EQ(daemon.requests()[0].bytes, "PATCH /localapi/v0/hatago HTTP/1.1\r\n"
                                          "Host: local-quoxelind.sock\r\n"
                                          "Content-Length: 43\r\n"
                                          "Connection: close\r\n"
                                          "Content-Type: application/json\r\n"
                                          "\r\n"
                                          "{\"WantRunning\":false,\"WantRunningSet\":true}");
    EXPECT_EQ(daemon.requests()[1].bytes, "PATCH /localapi/v0/hatago HTTP/1.1\r\n"
                                          "Host: local-quoxelind.sock\r\n"
                                          "Content-Length: 42\r\n"
                                          "Connection: close\r\n"
                                          "Content-Type: application/json\r\n"
                                          "\r\n"
                                          "{\"WantRunning\":true,\"WantRunningSet\":true}");
}

TEST_F(LocalAPIClientTest, encodesAProfileIdentifierForTheQuery) {
    const auto lineFor = [&](const std::string& id) {
        daemon.clearRequests();
        client.switchProfile(id, [](auto) {});
        dispatch.runUntilIdle();
        return daemon.requestLines().at(0);
    };
    const std::string path = "POST /localapi/v0/profiles/switch?id=";
    EXPECT_EQ(lineFor("a b"), path + "a%20b");
    EXPECT_EQ(lineFor("a&b=c"), path + "a&b=c");
    EXPECT_EQ(lineFor("é#%"), path + "%C3%A9%23%25");
    EXPECT_EQ(lineFor("x HTTP/1.1\r\nEvil: 1"), path + "x%20HTTP/1.1%0D%0AEvil:%201");
    EXPECT_EQ(lineFor(""), path);
}

TEST_F(LocalAPIClientTest, switchesToTheEmptyProfile) {
    daemon.answer("POST", "/localapi/v0/profiles/switch-to-empty", SimulatedDaemon::ok("ignored"));
    Receiver<void> receiver;
    client.switchToEmptyProfile(receiver.completion());
    dispatch.runUntilIdle();
    EXPECT_TRUE(receiver.outcome().has_value());
    EXPECT_EQ(daemon.requestLines(),
              std::vector<std::string>{"POST /localapi/v0/profiles/switch-to-empty"});
}

TEST_F(LocalAPIClientTest, returnsAtOnceAndCompletesOnAUserInitiatedBackgroundThread) {
    bool onMain = true;
    client.triggerLogin([&](auto) { onMain = dispatch.isMainThread(); });
    client.startLogin([&](auto) { onMain = onMain || dispatch.isMainThread(); });
    EXPECT_TRUE(daemon.requests().empty());
    dispatch.runUntilIdle();
    EXPECT_FALSE(onMain);
    EXPECT_EQ(dispatch.submittedQualities(),
              (std::vector{QualityOfService::userInitiated, QualityOfService::userInitiated}));
}

TEST_F(LocalAPIClientTest, closesTheConnectionAfterTheCompletion) {
    std::vector<std::size_t> openDuringCompletion;
    client.triggerLogin([&](auto) { openDuringCompletion.push_back(daemon.openConnections()); });
    client.startLogin([&](auto) { openDuringCompletion.push_back(daemon.openConnections()); });
    dispatch.runUntilIdle();
    EXPECT_EQ(openDuringCompletion, (std::vector<std::size_t>{1, 1}));
    EXPECT_EQ(daemon.openConnections(), 0u);
}

TEST_F(LocalAPIClientTest, outlivesItsClientWithAnExchangeUnderWay) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::after(seconds(1), SimulatedDaemon::ok()));
    Receiver<void> receiver;
    {
        LocalAPIClient passing({dispatch, daemon, logger}, socketPath);
        passing.triggerLogin(receiver.completion());
        dispatch.runUntilIdle();
    }
    dispatch.advance(seconds(1));
    EXPECT_TRUE(receiver.outcome().has_value());
}

TEST_F(LocalAPIClientTest, runsExchangesInParallelOnConnectionsOfTheirOwn) {
    daemon.answerNext("POST", "/localapi/v0/login",
                      SimulatedDaemon::after(seconds(2), SimulatedDaemon::ok()));
    daemon.answerNext("POST", "/localapi/v0/login",
                      SimulatedDaemon::after(seconds(1), SimulatedDaemon::ok()));
    std::string order;
    client.triggerLogin([&](auto) { order += 'a'; });
    client.triggerLogin([&](auto) { order += 'b'; });
    dispatch.runUntilIdle();
    EXPECT_EQ(daemon.openConnections(), 2u);
    dispatch.advance(seconds(2));
    EXPECT_EQ(order, "ba");
}

TEST_F(LocalAPIClientTest, waitsForEverForADaemonThatNeverCloses) {
    daemon.answer("POST", "/localapi/v0/login",
                  {"HTTP/1.1 200 OK\r\n\r\n", Duration{0}, 0, true, std::nullopt});
    Receiver<void> receiver;
    client.triggerLogin(receiver.completion());
    dispatch.advance(seconds(86'400));
    EXPECT_TRUE(receiver.outcomes.empty());
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 1u);
}

TEST_F(LocalAPIClientTest, reportsThatTheDaemonCannotBeReached) {
    daemon.refuseConnections();
    expectTransportFailure({Case::connectFailed, "Connection refused"});
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientTest, reportsThatTheSocketCannotBeMade) {
    daemon.connectError = ConnectError{ConnectError::Reason::socketCreateFailed, {EMFILE}};
    expectTransportFailure({Case::socketCreateFailed});
    daemon.connectError = ConnectError{ConnectError::Reason::socketPathTooLong, {ENAMETOOLONG}};
    expectTransportFailure({Case::socketPathTooLong});
}

TEST_F(LocalAPIClientTest, reportsAFailedWrite) {
    daemon.writeError = EPIPE;
    expectTransportFailure({Case::writeFailed, "Broken pipe"});
}

TEST_F(LocalAPIClientTest, takesAShortWriteAsAFailureAndDoesNotGoOn) {
    daemon.writeLimit = 10;
    expectTransportFailure({Case::writeFailed, SystemError{0}.message()});
    EXPECT_TRUE(daemon.requests().empty());
}

TEST_F(LocalAPIClientTest, reportsAFailedReadEvenAfterACompleteReply) {
    daemon.answer("POST", "/localapi/v0/login",
                  {"HTTP/1.1 200 OK\r\n\r\n{\"interactiveLoginUrl\":\"u\"}", Duration{0}, 0, false,
                   ECONNRESET});
    expectTransportFailure({Case::readFailed, "Connection reset by peer"});
}

TEST_F(LocalAPIClientTest, refusesAReplyWithoutAnEmptyLine) {
    for (const auto* const bytes :
         {"", "HTTP/1.1 200 OK", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 404 No\n\n", "\r\n\r"}) {
        answerLogin(bytes);
        expectTransportFailure({Case::badHTTPResponse});
    }
}

TEST_F(LocalAPIClientTest, readsAReplyThatComesInPieces) {
    for (const std::size_t size : {1, 2, 3, 7}) {
        daemon.answer("GET", "/localapi/v0/status",
                      {"HTTP/1.1 200 OK\r\nA: b\r\n\r\n{\"backend_state\":\"Running\"}",
                       Duration{0}, size, false, std::nullopt});
        EXPECT_EQ(getStatus()->backendState, "Running");
    }
}

TEST_F(LocalAPIClientTest, turnsAnErrorStatusIntoAnErrorWithTheBodysText) {
    daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::status(404, "no such profile"));
    const auto receiver = triggerLogin();
    const auto error = receiver.outcome().error();
    EXPECT_EQ(error, (LocalAPIError{Case::httpError, "no such profile", 404}));
    EXPECT_EQ(error.errorDescription(), "HTTP error 404: no such profile");
    EXPECT_EQ(log(), std::vector<std::string>{
                         "[LocalAPI] HTTP error 404 for POST /localapi/v0/login: no such profile"});
}

TEST_F(LocalAPIClientTest, drawsTheLineBetween399And400) {
    answerLogin("HTTP/1.1 399 x\r\n\r\n");
    EXPECT_TRUE(triggerLogin().outcome().has_value());
    answerLogin("HTTP/1.1 400 x\r\n\r\n");
    EXPECT_EQ(triggerLogin().outcome().error(), (LocalAPIError{Case::httpError, "", 400}));
}

TEST_F(LocalAPIClientTest, takesABodyThatIsNotUtf8AsAnEmptyErrorText) {
    answerLogin("HTTP/1.1 500 x\r\n\r\n\xFFoops");
    EXPECT_EQ(triggerLogin().outcome().error(), (LocalAPIError{Case::httpError, "", 500}));
    EXPECT_EQ(log(),
              std::vector<std::string>{"[LocalAPI] HTTP error 500 for POST /localapi/v0/login: "});
}

TEST_F(LocalAPIClientTest, findsAnErrorStatusHoweverTheLineIsSpaced) {
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

TEST_F(LocalAPIClientTest, takesAStatusThatItCannotReadAsSuccess) {
    for (const auto* const header :
         {"OK", "", " ", "HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 4o4 x", "HTTP/1.1 404.0", "x 0x194",
          "x -404", "x +-404", "x +", "x 404\t", "x 99999999999999999999 y", "x 404 \xFF",
          "x 200 OK\r\nA: 404 404", "\r\nHTTP/1.1 404"}) {
        daemon.answer("GET", "/localapi/v0/status",
                      {std::string(header) + "\r\n\r\n{\"backend_state\":\"" + "s\"}"});
        const auto status = getStatus();
        ASSERT_TRUE(status.has_value()) << header;
        EXPECT_EQ(status->backendState, "s");
    }
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientTest, leavesALaterEmptyLineToTheBody) {
    answerLogin("HTTP/1.1 500 x\r\n\r\na\r\n\r\nb");
    EXPECT_EQ(triggerLogin().outcome().error().message, "a\r\n\r\nb");
}

TEST_F(LocalAPIClientTest, stopsReadingAReplyThatIsTooLarge) {
    const std::string header = "HTTP/1.1 500 x\r\n\r\n";
    answerLogin(header + std::string(2'000'000, 'x'));
    const auto receiver = triggerLogin();
    // The limit is passed by a part of a read at most: 64 reads of 16,384 bytes reach it exactly.
    EXPECT_EQ(receiver.outcome().error().message.size(), 65 * 16'384 - header.size());
    ASSERT_EQ(log().size(), 2u);
    EXPECT_EQ(log()[0], "[LocalAPI] Response too large (1064960 bytes), truncating");
}

TEST_F(LocalAPIClientTest, readsAReplyOfExactlyTheLimit) {
    const std::string header = "HTTP/1.1 500 x\r\n\r\n";
    answerLogin(header + std::string(1'048'576 - header.size(), 'x'));
    EXPECT_EQ(triggerLogin().outcome().error().message.size(), 1'048'576 - header.size());
    EXPECT_EQ(log().size(), 1u);
}

TEST_F(LocalAPIClientTest, parsesWhatItHasOfATooLargeReply) {
    std::string body = R"({"interactive_login_url":"u"})";
    body.resize(2'000'000, ' ');
    answerLogin("HTTP/1.1 200 OK\r\n\r\n" + body);
    EXPECT_EQ(startLogin(), "u");
    EXPECT_EQ(log(), std::vector<std::string>{
                         "[LocalAPI] Response too large (1064960 bytes), truncating"});
}

TEST_F(LocalAPIClientTest, getsTheStatus) {
    daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::ok(R"({"jailed":true})"));
    EXPECT_EQ(getStatus()->jailed, true);
}

TEST_F(LocalAPIClientTest, refusesAStatusThatIsNoObject) {
    for (const auto* const body : {"", "[]", "null", "{", "\"x\""}) {
        daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::ok(body));
        EXPECT_EQ(getStatus().error(), LocalAPIError{Case::decodeFailed}) << body;
    }
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientTest, getsTheProfiles) {
    daemon.answer("GET", "/localapi/v0/profiles", SimulatedDaemon::ok(R"({
        "current_profile_id":"b",
        "profiles":[{"id":"b","name":"B","is_current":true}]})"));
    EXPECT_EQ(getProfiles(),
              (ProfilesResponse{"b", {{"b", "B", std::nullopt, std::nullopt, true}}}));
}

TEST_F(LocalAPIClientTest, logsWhyProfilesCannotBeDecoded) {
    daemon.answer("GET", "/localapi/v0/profiles", SimulatedDaemon::ok(R"({"profiles":[]})"));
    EXPECT_EQ(getProfiles().error(), LocalAPIError{Case::decodeFailed});
    EXPECT_EQ(log(), std::vector<std::string>{"[LocalAPI] Failed to decode profiles response: "
                                              "current_profile_id is missing"});
}

TEST_F(LocalAPIClientTest, passesTransportErrorsOfDecodedReplies) {
    daemon.refuseConnections();
    EXPECT_EQ(getStatus().error().kind, Case::connectFailed);
    EXPECT_EQ(getProfiles().error().kind, Case::connectFailed);
    daemon.acceptConnections();
    EXPECT_EQ(getStatus().error().kind, Case::httpError);
    EXPECT_EQ(getProfiles().error().kind, Case::httpError);
}

TEST_F(LocalAPIClientTest, startsALoginWhateverTheStatusLineSays) {
    answerLogin("HTTP/1.1 500 x\r\n\r\n{\"interactive_login_url\":\"https://login\"}");
    EXPECT_EQ(startLogin(), "https://login");
    EXPECT_TRUE(log().empty());
}

TEST_F(LocalAPIClientTest, failsToStartALoginWithoutAURL) {
    for (const auto* const body : {"", "{}", "[]", R"({"interactive_login_url":""})",
                                   R"({"interactive_login_url":1})", "no JSON"}) {
        answerLogin(std::string("HTTP/1.1 200 OK\r\n\r\n") + body);
        EXPECT_EQ(startLogin().error(), LocalAPIError{Case::decodeFailed}) << body;
    }
}

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

TEST(LocalAPIClientLoginURL, isSearchedOnWhereItIsEmptyOrNoString) {
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

TEST(LocalAPIClientLoginURL, isAbsentFromWhatIsNoObject) {
    for (const auto* const body : {"", "nonsense", R"("interactive_login_url")", "null",
                                   R"([{"interactive_login_url":"u"}])", "{\"a\":\"\xFF\"}"})
        EXPECT_EQ(LocalAPIClient::extractInteractiveLoginURL(body), std::nullopt) << body;
}

} // namespace quoxelin::testing
