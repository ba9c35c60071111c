#include "Tests/Runner/Services/State/HashiBusClientFixture.h"

#include <cerrno>

namespace quoxelin::testing {

class HashiBusClientTest : public HashiBusClientFixture {
  protected:
    static constexpr const char* retrying = "[HashiBus] Connection failed, retrying in 3s...";
};

TEST_F(HashiBusClientTest, doesNothingBeforeItsStart) {
    dispatch.advance(seconds(10));
    EXPECT_TRUE(daemon.connectInstants().empty());
    EXPECT_TRUE(log().empty());
}

TEST_F(HashiBusClientTest, reportsTheStreamsEndAndConnectsAgainAfterThreeSeconds) {
    start();
    dispatch.advance(seconds(7));
    daemon.send(line("a") + line("b"));
    daemon.closeBus();
    dispatch.runUntilIdle();
    EXPECT_EQ(delegate->versions, "ab");
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[HashiBus] EOF", "[State] HashiBus disconnected: nil"}));
    EXPECT_EQ(daemon.openConnections(), 0u);
    dispatch.advance(seconds(3) - Duration(1));
    EXPECT_EQ(daemon.busConnections(), 1u);
    dispatch.advance(Duration(1));
    EXPECT_EQ(daemon.connectInstants(), (std::vector{seconds(0), seconds(10)}));
    EXPECT_TRUE(daemon.isBusOpen());
    EXPECT_EQ(log().size(), 6u);
}

TEST_F(HashiBusClientTest, reportsAReadError) {
    start();
    daemon.failBus(ECONNRESET);
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[HashiBus] Read error: Connection reset by peer",
                            "[State] HashiBus disconnected: nil"}));
    dispatch.advance(seconds(3));
    EXPECT_TRUE(daemon.isBusOpen());
}

TEST_F(HashiBusClientTest, triesEveryThreeSecondsWhileTheDaemonIsAbsent) {
    daemon.refuseConnections();
    client->start();
    dispatch.advance(seconds(9));
    EXPECT_EQ(daemon.connectInstants(),
              (std::vector{seconds(0), seconds(3), seconds(6), seconds(9)}));
    EXPECT_EQ(log(), (Lines{retrying, retrying, retrying, retrying}));
    dispatch.advance(seconds(3'600));
    EXPECT_EQ(daemon.connectInstants().size(), 1'204u);
    daemon.acceptConnections();
    dispatch.advance(seconds(3));
    EXPECT_TRUE(daemon.isBusOpen());
}

TEST_F(HashiBusClientTest, triesAgainAfterEveryConnectionError) {
    daemon.connectError = ConnectError{ConnectError::Reason::socketCreateFailed, {EMFILE}};
    start();
    daemon.connectError = ConnectError{ConnectError::Reason::socketPathTooLong, {ENAMETOOLONG}};
    dispatch.advance(seconds(3));
    EXPECT_EQ(log(), (Lines{retrying, retrying}));
}

TEST_F(HashiBusClientTest, losesOnlyTheRestOfTheStreamWhenMemoryRunsOut) {
    start();
    send(line("a") + "{\"ErrMessage\":\"" + std::string(1'000, 'x'));
    daemon.failBus(ENOMEM);
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[HashiBus] Read error: Cannot allocate memory",
                            "[State] HashiBus disconnected: nil"}));
    dispatch.advance(seconds(3));
    send(line("b"));
    EXPECT_EQ(delegate->versions, "ab");
}

TEST_F(HashiBusClientTest, endsAStreamThatItCouldNotAskFor) {
    daemon.writeError = EPIPE;
    start();
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[HashiBus] EOF",
                            "[State] HashiBus connected", "[State] HashiBus disconnected: nil"}));
    daemon.writeError.reset();
    dispatch.advance(seconds(3));
    EXPECT_TRUE(daemon.isBusOpen());
}

TEST_F(HashiBusClientTest, followsOneStreamHoweverOftenItIsStarted) {
    client->start();
    client->start();
    dispatch.runUntilIdle();
    client->start();
    dispatch.advance(seconds(30));
    EXPECT_EQ(daemon.connectInstants(), std::vector{seconds(0)});
}

TEST_F(HashiBusClientTest, followsTheStreamOnASeparateQueue) {
    EXPECT_EQ(dispatch.serialLabels().back(), "com.quoxelin.desktop.hashibus");
    start();
    EXPECT_TRUE(dispatch.submittedQualities().empty());
}

TEST_F(HashiBusClientTest, stopsInTheMiddleOfARead) {
    start();
    client->stop();
    dispatch.runUntilIdle();
    EXPECT_EQ(daemon.openConnections(), 0u);
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[HashiBus] EOF", "[State] HashiBus disconnected: nil"}));
    dispatch.advance(seconds(60));
    EXPECT_EQ(daemon.connectInstants().size(), 1u);
}

TEST_F(HashiBusClientTest, makesNoAttemptAfterAStopDuringThePause) {
    daemon.refuseConnections();
    start();
    dispatch.advance(seconds(1));
    client->stop();
    dispatch.advance(seconds(60));
    EXPECT_EQ(log(), Lines{retrying});
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
}

TEST_F(HashiBusClientTest, dropsUnreadDataWhenStopped) {
    start();
    daemon.send(line("a"));
    client->stop();
    dispatch.runUntilIdle();
    EXPECT_EQ(delegate->versions, "");
}

TEST_F(HashiBusClientTest, logsNoReadErrorOnceStopped) {
    start();
    daemon.failBus(EIO);
    client->stop();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[State] HashiBus disconnected: nil"}));
}

TEST_F(HashiBusClientTest, makesNoAttemptWhenStoppedBeforeItsFirst) {
    client->start();
    client->stop();
    dispatch.advance(seconds(10));
    EXPECT_TRUE(daemon.connectInstants().empty());
    EXPECT_TRUE(log().empty());
}

TEST_F(HashiBusClientTest, closesAConnectionThatSucceedsAfterTheStop) {
    /// The daemon is too busy to accept a connection.
    struct Busy final : Connector {
        Busy(VirtualDispatch& dispatch, Connector& daemon) : dispatch(dispatch), daemon(daemon) {}
        Result<std::unique_ptr<Connection>, ConnectError>
        connect(const std::string& path) override {
            dispatch.waitUntil([this] { return accepts; });
            return daemon.connect(path);
        }
        VirtualDispatch& dispatch;
        Connector& daemon;
        bool accepts = false;
    } busy(dispatch, daemon);
    const auto waiting = std::make_shared<HashiBusClient>(
        HashiBusClient::Dependencies{dispatch, busy, logger}, socketPath);
    waiting->delegate = delegate;
    waiting->start();
    dispatch.runUntilIdle();
    waiting->stop();
    busy.accepts = true;
    dispatch.runUntilIdle();
    EXPECT_EQ(daemon.connectInstants().size(), 1u);
    EXPECT_EQ(daemon.openConnections(), 0u);
    EXPECT_TRUE(daemon.requests().empty());
    EXPECT_EQ(log(), Lines{});
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
}

TEST_F(HashiBusClientTest, cannotBeRestarted) {
    client->stop();
    start();
    EXPECT_TRUE(daemon.connectInstants().empty());
}

TEST_F(HashiBusClientTest, doesNothingWhenReleasedBeforeItsWorkRuns) {
    client->start();
    client->logout();
    client.reset();
    dispatch.runUntilIdle();
    EXPECT_TRUE(daemon.connectInstants().empty());
    client = std::make_shared<HashiBusClient>(
        HashiBusClient::Dependencies{dispatch, daemon, logger}, socketPath);
}

} // namespace quoxelin::testing
