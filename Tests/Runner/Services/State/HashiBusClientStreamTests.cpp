#include "Tests/Runner/Services/State/HashiBusClientFixture.h"
#include "Tests/Support/InlineLink.h"

#include <ctime>

namespace quoxelin::testing {

namespace {

/// The processor time needed to follow the stream in many small pieces.
std::clock_t effortFor(const std::string& stream) {
    InlineLink link(stream, 64);
    const auto begin = std::clock();
    link.followOneStream([](const HashiBusNotify&) {});
    return std::clock() - begin;
}

} // namespace

class HashiBusClientStream : public HashiBusClientFixture {};

TEST_F(HashiBusClientStream, asksForTheStreamWithExactBytesInOneWrite) {
    start();
    ASSERT_EQ(daemon.requests().size(), 1u);
    EXPECT_EQ(daemon.requests()[0].bytes, "GET /localapi/v0/observe-hashi-bus HTTP/1.1\r\n"
                                          "Host: local-quoxelind.sock\r\n\r\n");
    EXPECT_EQ(daemon.lastPath(), socketPath);
    EXPECT_EQ(log(), (Lines{"[HashiBus] Connected to socket", "[State] HashiBus connected"}));
}

TEST_F(HashiBusClientStream, passesEachLineToItsDelegateOnTheMainThread) {
    start();
    send(line("a") + line("b"));
    EXPECT_EQ(delegate->versions, "ab");
    send(line("c"));
    EXPECT_EQ(delegate->versions, "abc");
}

TEST_F(HashiBusClientStream, decodesNoLineBeforeTheHeaderHasEnded) {
    daemon.busHeader = "";
    start();
    send(line("a") + "\n\n" + line("b"));
    EXPECT_EQ(delegate->versions, "");
    send("\r\n\r\n" + line("c"));
    EXPECT_EQ(delegate->versions, "c");
}

TEST_F(HashiBusClientStream, acceptsAnyStatus) {
    daemon.busHeader = "nonsense 500\r\n\r\n";
    start();
    send(line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientStream, acceptsSpaceAroundALine) {
    start();
    send(" \t\r" + line("a") + "\r" + line("b"));
    EXPECT_EQ(delegate->versions, "ab");
}

TEST_F(HashiBusClientStream, dropsOtherLinesSilently) {
    start();
    send(line("a") +
         "\n\r\n \n1a3f\r\n[]\nnull\n{\"Version\":1}\n{\"Version\":\"x\"\n\xEF\xBB\xBF" +
         line("x") + "{\"Version\":\"\xFF\"}\n" + std::string("{\"Version\":\"x\"}\0\n", 17) +
         std::string(100'000, '[') + "\n{\"NetMap\":{\"Peers\":[{\"Node\":{}}]}}\n" + line("b"));
    EXPECT_EQ(delegate->versions, "ab");
    EXPECT_EQ(log().size(), 2u);
}

TEST_F(HashiBusClientStream, waitsWhileTheMainThreadIsBehind) {
    start();
    std::string flood, versions;
    for (int i = 0; i < 10'000; ++i) {
        flood += line(std::to_string(i));
        versions += std::to_string(i);
    }
    daemon.send(flood);
    dispatch.runUntilIdle();
    EXPECT_FALSE(delegate->versions.empty());
    EXPECT_LT(delegate->versions.size(), versions.size() / 2);
    dispatch.advance(seconds(1));
    EXPECT_EQ(delegate->versions, versions);
}

TEST_F(HashiBusClientStream, followsADaemonThatRestartsEachMinuteOfADay) {
    constexpr std::size_t minutes = 24 * 60;
    start();
    for (std::size_t minute = 0; minute < minutes; ++minute) {
        send(line("a"));
        daemon.closeBus();
        dispatch.advance(seconds(60));
    }
    EXPECT_EQ(delegate->versions, std::string(minutes, 'a'));
    EXPECT_EQ(daemon.busConnections(), minutes + 1);
    EXPECT_EQ(daemon.openConnections(), 1u);
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 1u);
}

TEST_F(HashiBusClientStream, stopsWhileTheMainThreadIsBehind) {
    start();
    for (int i = 0; i < 10'000; ++i)
        daemon.notify("{}");
    dispatch.runUntilIdle();
    client->stop();
    dispatch.advance(seconds(1));
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
}

TEST_F(HashiBusClientStream, keepsTheOrderOfNotesAndNotifications) {
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

TEST_F(HashiBusClientStream, dropsALineCutByTheStreamsEndTogetherWithWhatFollows) {
    start();
    daemon.send(line("a") + "{\"Version\":\"cut\"");
    daemon.closeBus();
    dispatch.advance(seconds(3));
    send(line("b"));
    EXPECT_EQ(delegate->versions, "ab");
}

TEST_F(HashiBusClientStream, joinsACutLineWithTheNextStreamsFirst) {
    start();
    daemon.send("{\"Version\":");
    daemon.closeBus();
    dispatch.runUntilIdle();
    daemon.busHeader = "";
    dispatch.advance(seconds(3));
    send("\"joined \"}\n" + line("b"));
    EXPECT_EQ(delegate->versions, "joined b");
}

TEST_F(HashiBusClientStream, continuesAHeaderCutByTheStreamsEnd) {
    daemon.busHeader = "HTTP/1.1 200 OK\r\n";
    start();
    daemon.closeBus();
    dispatch.advance(seconds(3));
    send("\r\n" + line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientStream, discardsNotificationsAndLogsNoStateWithoutADelegate) {
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

TEST_F(HashiBusClientStream, forgetsADelegateThatGoesAwayBetweenTwoNotifications) {
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

TEST(HashiBusClientEffort, treatsLongLinesAndHeadersLikeShortOnes) {
    const std::string header = "\r\n\r\n";
    const std::string longLine(std::size_t(4) << 20, 'x');
    auto shortLines = longLine;
    for (std::size_t at = 0; at < shortLines.size(); at += 1'024)
        shortLines[at] = '\n';
    // Searching everything again for every piece would take many times as long.
    const auto bound = 5 * effortFor(header + shortLines);
    EXPECT_LT(effortFor(header + longLine), bound);
    EXPECT_LT(effortFor(longLine), bound);
}

TEST_F(HashiBusClientStream, readsALineOfManyMegabytes) {
    start();
    send("{\"Version\":\"long\",\"x\":\"" + std::string(std::size_t(48) << 20, 'x') + "\"}\n" +
         line(" then short"));
    dispatch.advance(seconds(1)); // the main thread takes the first before the second comes
    EXPECT_EQ(delegate->versions, "long then short");
}

} // namespace quoxelin::testing
