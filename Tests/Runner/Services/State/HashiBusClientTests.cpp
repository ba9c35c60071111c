#include "Runner/Services/State/HashiBusClient.h"

#include "Tests/Support/LinkFixture.h"

#include <cerrno>

namespace quoxelin::testing {

namespace {

using Lines = std::vector<std::string>;

/// Remembers the versions of the notifications: a short way to tell one from another.
class Delegate final : public HashiBusClientDelegate {
  public:
    explicit Delegate(VirtualDispatch& dispatch) : dispatch(dispatch) {}

    void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override {
        EXPECT_TRUE(dispatch.isMainThread());
        versions += notify.version.value_or("-");
    }

    std::string versions;

  private:
    VirtualDispatch& dispatch;
};

std::string line(const std::string& version) {
    return "{\"Version\":\"" + version + "\"}\n";
}

constexpr const char* retrying = "[HashiBus] Connection failed, retrying in 3s...";

} // namespace

class HashiBusClientTest : public LinkFixture {
  protected:
    HashiBusClientTest() { client->delegate = delegate; }

    ~HashiBusClientTest() override { client->stop(); }

    void start() {
        client->start();
        dispatch.runUntilIdle();
    }

    void send(const std::string& bytes) {
        daemon.send(bytes);
        dispatch.runUntilIdle();
    }

    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>(dispatch);
    std::shared_ptr<HashiBusClient> client = std::make_shared<HashiBusClient>(
        HashiBusClient::Dependencies{dispatch, daemon, logger}, socketPath);
};

TEST_F(HashiBusClientTest, asksForTheStreamWithExactBytesInOneWrite) {
    start();
    ASSERT_EQ(daemon.requests().size(), 1u);
    EXPECT_EQ(daemon.requests()[0].bytes, "GET /localapi/v0/observe-hashi-bus HTTP/1.1\r\n"
                                          "Host: local-quoxelind.sock\r\n\r\n");
    EXPECT_EQ(daemon.lastPath(), socketPath);
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected"}));
}

TEST_F(HashiBusClientTest, doesNothingBeforeItsStart) {
    dispatch.advance(seconds(10));
    EXPECT_TRUE(daemon.connectInstants().empty());
    EXPECT_TRUE(log().empty());
}

TEST_F(HashiBusClientTest, handsEachLineToItsDelegateOnTheMainThread) {
    start();
    send(line("a") + line("b"));
    EXPECT_EQ(delegate->versions, "ab");
    send(line("c"));
    EXPECT_EQ(delegate->versions, "abc");
}

TEST_F(HashiBusClientTest, joinsALineThatComesInSeveralReads) {
    start();
    send("{\"Vers");
    send("ion\":\"a\"");
    EXPECT_EQ(delegate->versions, "");
    send("}\n");
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientTest, findsTheEndOfTheHeaderWhereverItIsSplit) {
    const std::string header = "HTTP/1.1 200 OK\r\nA: b\r\n\r\n";
    daemon.busHeader = "";
    start();
    for (std::size_t first = 0; first < header.size(); ++first) {
        SCOPED_TRACE(first);
        auto another = std::make_shared<HashiBusClient>(
            HashiBusClient::Dependencies{dispatch, daemon, logger}, socketPath);
        another->delegate = delegate;
        another->start();
        dispatch.runUntilIdle();
        delegate->versions.clear();
        send(header.substr(0, first));
        send(header.substr(first) + line("a"));
        send(line("b"));
        EXPECT_EQ(delegate->versions, "ab");
        another->stop();
        dispatch.runUntilIdle();
    }
}

TEST_F(HashiBusClientTest, findsTheEndOfAHeaderThatComesByteByByte) {
    daemon.busHeader = "";
    start();
    for (const char byte : std::string("HTTP/1.1 200 OK\r\n\r\n") + line("a") + line("b"))
        send({byte});
    EXPECT_EQ(delegate->versions, "ab");
}

TEST_F(HashiBusClientTest, takesNoLineForANotificationBeforeTheHeaderHasEnded) {
    daemon.busHeader = "";
    start();
    send(line("a") + "\n\n" + line("b"));
    EXPECT_EQ(delegate->versions, "");
    send("\r\n\r\n" + line("c"));
    EXPECT_EQ(delegate->versions, "c");
}

TEST_F(HashiBusClientTest, acceptsAnyStatus) {
    daemon.busHeader = "nonsense 500\r\n\r\n";
    start();
    send(line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientTest, dropsWhatIsNoNotificationSilently) {
    start();
    send(line("a") +
         "\n\r\n \n1a3f\r\n[]\nnull\n{\"Version\":1}\n{\"Version\":\"x\"\n\xEF\xBB\xBF" +
         line("x") + "{\"Version\":\"\xFF\"}\n" + std::string("{\"Version\":\"x\"}\0\n", 17) +
         std::string(100'000, '[') + "\n{\"NetMap\":{\"Peers\":[{\"Node\":{}}]}}\n" + line("b"));
    EXPECT_EQ(delegate->versions, "ab");
    EXPECT_EQ(log().size(), 2u);
}

TEST_F(HashiBusClientTest, acceptsACarriageReturnAtTheEndOfALine) {
    start();
    send("{\"Version\":\"a\"}\r\n");
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientTest, takesAnEmptyObjectForANotification) {
    start();
    send("{}\n");
    EXPECT_EQ(delegate->versions, "-");
}

TEST_F(HashiBusClientTest, tellsOfTheStreamsEndAndConnectsAgainAfterThreeSeconds) {
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

TEST_F(HashiBusClientTest, keepsTheOrderOfNotesAndNotifications) {
    struct Ordered final : HashiBusClientDelegate {
        explicit Ordered(SimulatedSystemLog& log) : log(log) {}
        void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override {
            log.log("notified " + *notify.version);
        }
        SimulatedSystemLog& log;
    };
    const auto ordered = std::make_shared<Ordered>(systemLog);
    client->delegate = ordered;
    start();
    daemon.send(line("a") + line("b"));
    daemon.closeBus();
    dispatch.runUntilIdle();
    dispatch.advance(seconds(3));
    send(line("c"));
    Lines ofMain;
    for (const auto& text : log()) {
        if (!text.starts_with("[HashiBus]"))
            ofMain.push_back(text);
    }
    EXPECT_EQ(ofMain, (Lines{"[State] HashiBus connected", "notified a", "notified b",
                             "[State] HashiBus disconnected: nil", "[State] HashiBus connected",
                             "notified c"}));
}

TEST_F(HashiBusClientTest, tellsOfAReadError) {
    start();
    daemon.failBus(ECONNRESET);
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected",
                            "[HashiBus] Read error: Connection reset by peer",
                            "[State] HashiBus disconnected: nil"}));
    dispatch.advance(seconds(3));
    EXPECT_TRUE(daemon.isBusOpen());
}

TEST_F(HashiBusClientTest, triesEveryThreeSecondsForEverWhileTheDaemonIsAbsent) {
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

TEST_F(HashiBusClientTest, triesAgainWhateverKeepsItFromConnecting) {
    daemon.connectError = ConnectError{ConnectError::Reason::socketCreateFailed, {EMFILE}};
    start();
    daemon.connectError = ConnectError{ConnectError::Reason::socketPathTooLong, {ENAMETOOLONG}};
    dispatch.advance(seconds(3));
    EXPECT_EQ(log(), (Lines{retrying, retrying}));
}

TEST_F(HashiBusClientTest, learnsFromTheReadThatTheRequestCouldNotBeWritten) {
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

TEST_F(HashiBusClientTest, passesTheNextStreamsHeaderThroughAsLinesOfTheFirst) {
    start();
    daemon.send(line("a"));
    daemon.closeBus();
    dispatch.advance(seconds(3));
    send(line("b") + line("c"));
    EXPECT_EQ(delegate->versions, "abc");
}

TEST_F(HashiBusClientTest, dropsALineThatTheStreamsEndHasCutTogetherWithWhatFollows) {
    start();
    daemon.send(line("a") + "{\"Version\":\"cut\"");
    daemon.closeBus();
    dispatch.advance(seconds(3));
    send(line("b"));
    EXPECT_EQ(delegate->versions, "ab");
}

TEST_F(HashiBusClientTest, joinsTheLineThatWasCutToTheNextStreamsFirst) {
    start();
    daemon.send("{\"Version\":");
    daemon.closeBus();
    dispatch.runUntilIdle();
    daemon.busHeader = "";
    dispatch.advance(seconds(3));
    send("\"joined \"}\n" + line("b"));
    EXPECT_EQ(delegate->versions, "joined b");
}

TEST_F(HashiBusClientTest, goesOnWithAHeaderThatTheStreamsEndHasCut) {
    daemon.busHeader = "HTTP/1.1 200 OK\r\n";
    start();
    daemon.closeBus();
    dispatch.advance(seconds(3));
    send("\r\n" + line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientTest, discardsNotificationsAndLogsNoStateWithoutADelegate) {
    delegate.reset();
    start();
    send(line("a"));
    daemon.closeBus();
    dispatch.advance(seconds(3));
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[HashiBus] EOF",
                            "[HashiBus] Connected to socket"}));
    delegate = std::make_shared<Delegate>(dispatch);
    client->delegate = delegate;
    send(line("b"));
    EXPECT_EQ(delegate->versions, "b");
}

TEST_F(HashiBusClientTest, forgetsADelegateThatGoesAwayBetweenTwoNotifications) {
    struct Leaving final : HashiBusClientDelegate {
        Leaving(std::shared_ptr<Leaving>& self, int& count) : self(self), count(count) {}
        void hashiBusDidReceiveNotify(const HashiBusNotify&) override {
            ++count;
            self.reset();
        }
        std::shared_ptr<Leaving>& self;
        int& count;
    };
    int count = 0;
    std::shared_ptr<Leaving> leaving;
    leaving = std::make_shared<Leaving>(leaving, count);
    client->delegate = leaving;
    start();
    send(line("a") + line("b"));
    EXPECT_EQ(count, 1);
    daemon.closeBus();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] EOF");
}

TEST_F(HashiBusClientTest, readsALongLineInTimeProportionalToItsLength) {
    start();
    // In reads of 4,096 bytes, searching all of it again for each one would take a minute.
    send("{\"Version\":\"long\",\"x\":\"" + std::string(std::size_t(48) << 20, 'x') + "\"}\n" +
         line(" then short"));
    EXPECT_EQ(delegate->versions, "long then short");
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

TEST_F(HashiBusClientTest, dropsWhatItHasNotReadWhenStopped) {
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

TEST_F(HashiBusClientTest, isStoppedForGood) {
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

TEST_F(HashiBusClientTest, logsOutOverAConnectionOfItsOwn) {
    start();
    daemon.answer("POST", "/localapi/v0/logout", {"HTTP/1.1 200 OK\r\n\r\nbye", {}, 0, true, {}});
    systemLog.clear();
    client->logout();
    EXPECT_EQ(daemon.requests().size(), 1u);
    dispatch.runUntilIdle();
    ASSERT_EQ(daemon.requests().size(), 2u);
    EXPECT_EQ(daemon.requests()[1].bytes,
              "POST /localapi/v0/logout HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n");
    EXPECT_EQ(log(), (Lines{"[HashiBus] Logout request sent, bytes: 65",
                            "[HashiBus] Logout response: HTTP/1.1 200 OK\r\n\r\nbye"}));
    EXPECT_EQ(dispatch.submittedQualities(), std::vector{QualityOfService::standard});
    EXPECT_EQ(daemon.openConnections(), 1u);
    send(line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientTest, logsOutBeforeItsStart) {
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(daemon.count("POST /localapi/v0/logout"), 1u);
}

TEST_F(HashiBusClientTest, logsWhatKeepsItFromLoggingOut) {
    daemon.refuseConnections();
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout failed: Could not open socket"});
    daemon.acceptConnections();
    systemLog.clear();
    daemon.writeError = EPIPE;
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout write failed: Broken pipe"});
    EXPECT_EQ(daemon.openConnections(), 0u);
}

TEST_F(HashiBusClientTest, logsHowManyBytesOfALogoutWereTaken) {
    daemon.writeLimit = 10;
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout request sent, bytes: 10"});
}

TEST_F(HashiBusClientTest, logsALogoutWithoutAResponse) {
    for (const auto& readError : {std::optional<int>(), std::optional<int>(EIO)}) {
        systemLog.clear();
        daemon.answer("POST", "/localapi/v0/logout", {"", {}, 0, false, readError});
        client->logout();
        dispatch.runUntilIdle();
        EXPECT_EQ(log(), (Lines{"[HashiBus] Logout request sent, bytes: 65",
                                "[HashiBus] Logout response empty or error"}));
    }
}

TEST_F(HashiBusClientTest, readsALogoutsResponseOnceAndNoMoreThan1024Bytes) {
    daemon.answer("POST", "/localapi/v0/logout", {std::string(3'000, 'x')});
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: " + std::string(1'024, 'x'));
    daemon.answer("POST", "/localapi/v0/logout", {"abc", {}, 2, false, {}});
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: ab");
}

TEST_F(HashiBusClientTest, logsNoTextOfALogoutsResponseThatIsNotUtf8) {
    daemon.answer("POST", "/localapi/v0/logout", {"ok \xFF"});
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: ");
}

} // namespace quoxelin::testing
