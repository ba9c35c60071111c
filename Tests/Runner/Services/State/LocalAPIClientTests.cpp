#include "Tests/Runner/Services/State/LocalAPIClientFixture.h"

#include <cerrno>

namespace quoxelin::testing {

namespace {

constexpr const char* exactLogin = "POST /localapi/v0/login HTTP/1.1\r\n"
                                   "Host: local-quoxelind.sock\r\n"
                                   "Content-Length: 0\r\n"
                                   "Connection: close\r\n"
                                   "\r\n";

} // namespace

class LocalAPIClientTest : public LocalAPIClientFixture {};

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

TEST_F(LocalAPIClientTest, completesAnExchangeAfterTheClientIsDestroyed) {
    daemon.deliveries["/localapi/v0/login"].delay = seconds(1);
    Receiver<void> receiver;
    {
        LocalAPIClient passing({dispatch, daemon, logger}, socketPath);
        passing.triggerLogin(receiver.completion());
        dispatch.runUntilIdle();
    }
    dispatch.advance(seconds(1));
    EXPECT_TRUE(receiver.outcome().has_value());
}

TEST_F(LocalAPIClientTest, runsExchangesInParallelOnSeparateConnections) {
    auto& delay = daemon.deliveries["/localapi/v0/login"].delay;
    std::string order;
    delay = seconds(2);
    client.triggerLogin([&](auto) { order += 'a'; });
    dispatch.runUntilIdle();
    delay = seconds(1);
    client.triggerLogin([&](auto) { order += 'b'; });
    dispatch.runUntilIdle();
    EXPECT_EQ(daemon.openConnections(), 2u);
    dispatch.advance(seconds(2));
    EXPECT_EQ(order, "ba");
}

TEST_F(LocalAPIClientTest, waitsForeverForADaemonThatNeverCloses) {
    daemon.deliveries["/localapi/v0/login"].staysOpen = true;
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

TEST_F(LocalAPIClientTest, treatsAShortWriteAsAFailureAndStops) {
    daemon.writeLimit = 10;
    expectTransportFailure({Case::writeFailed, SystemError{0}.message()});
    EXPECT_TRUE(daemon.requests().empty());
}

TEST_F(LocalAPIClientTest, reportsAFailedReadEvenAfterACompleteReply) {
    daemon.deliveries["/localapi/v0/login"].readError = ECONNRESET;
    expectTransportFailure({Case::readFailed, "Connection reset by peer"});
}

TEST_F(LocalAPIClientTest, reportsThatThereIsNoMemoryForAReply) {
    daemon.deliveries["/localapi/v0/login"].readError = ENOMEM;
    expectTransportFailure({Case::readFailed, "Cannot allocate memory"});
}

TEST_F(LocalAPIClientTest, passesTransportErrorsOfDecodedReplies) {
    daemon.refuseConnections();
    EXPECT_EQ(getStatus().error().kind, Case::connectFailed);
    EXPECT_EQ(getProfiles().error().kind, Case::connectFailed);
    daemon.acceptConnections();
    daemon.answer("GET", "*", SimulatedDaemon::status(404));
    EXPECT_EQ(getStatus().error().kind, Case::httpError);
    EXPECT_EQ(getProfiles().error().kind, Case::httpError);
}

} // namespace quoxelin::testing
