#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/Services/DBusHelper.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QEventLoop>
#include <future>
#include <gmock/gmock.h>
#include <thread>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* busName = DBusHelper::service;

/// A private system bus with a simulated helper.
class DBusHelperTest : public ::testing::Test {
  protected:
    void start() {
        daemon.start();
        runLoopUntil([this] { return bus.isConnected(); });
    }

    /// Records everything that a connection reports.
    std::function<void()> notes(const std::string& line) {
        return [this, line] { told.push_back(line); };
    }

    std::shared_ptr<NSXPCConnection> connect() {
        auto connection = helpers->privilegedConnection(busName);
        connection->setInterruptionHandler(notes("interrupted"));
        connection->setInvalidationHandler(notes("invalidated"));
        connection->resume();
        return connection;
    }

    std::shared_ptr<HelperToolProtocol> helperOf(NSXPCConnection& connection) {
        std::optional<std::shared_ptr<HelperToolProtocol>> told;
        connection.remoteObjectProxyWithErrorHandler(
            [this](const Error& error) { notes("error: " + error.localizedDescription)(); },
            [&](const auto& proxy) { told = proxy; });
        runLoopUntil([&] { return told.has_value(); });
        return *told;
    }

    /// The same for a helper that exists.
    std::shared_ptr<HelperToolProtocol> proxyOf(NSXPCConnection& connection) {
        runLoopUntil([this] { return helpers->presence().isPresent(); });
        return helperOf(connection);
    }

    void run(HelperToolProtocol& helper, const std::vector<std::string>& arguments = {"up"}) {
        helper.runGoToolWithPath("/path", arguments,
                                 [this](std::string output) { notes("output: " + output)(); });
    }

    void waitForNotes(std::size_t count) {
        runLoopUntil([&] { return told.size() >= count; });
    }

    PrivateBus daemon;
    ServedBus bus{daemon.address()};
    QtDispatch dispatch;
    std::unique_ptr<DBusHelper> helpers = std::make_unique<DBusHelper>(dispatch, bus);
    std::vector<std::string> told;
};

QDBusMessage silence(const QDBusMessage&) {
    return {};
}

TEST_F(DBusHelperTest, carriesAMessageAndItsReply) {
    start();
    FakeService helper(daemon, busName,
                       [](const auto& call) { return call.createReply("done\n"); });
    const auto connection = connect();
    run(*proxyOf(*connection), {"up", "--signal-host", "h"});
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("output: done\n"));
    const auto calls = helper.calls("RunGoTool");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].path(), "/com/quoxelin/desktop/Helper");
    EXPECT_EQ(calls[0].interface(), "com.quoxelin.desktop.HelperToolProtocol");
    EXPECT_EQ(calls[0].signature(), "sas");
    EXPECT_EQ(calls[0].arguments().at(0).toString(), "/path");
    EXPECT_EQ(calls[0].arguments().at(1).toStringList(), QStringList({"up", "--signal-host", "h"}));
    connection->invalidate();
    connection->invalidate();
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("output: done\n", "invalidated"));
}

TEST_F(DBusHelperTest, carriesAPing) {
    start();
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply(true); });
    const auto connection = connect();
    proxyOf(*connection)->pingWithReply([this](bool isThere) {
        notes(isThere ? "is there" : "is not there")();
    });
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("is there"));
}

TEST_F(DBusHelperTest, reportsARefusalInTheHelpersWords) {
    start();
    FakeService helper(daemon, busName, [](const auto& call) {
        return call.createErrorReply(QDBusError::AccessDenied, "Not authorized.");
    });
    const auto connection = connect();
    run(*proxyOf(*connection));
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("error: Not authorized."));
}

TEST_F(DBusHelperTest, reportsAReplyThatIsNotAString) {
    start();
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply(7); });
    const auto connection = connect();
    run(*proxyOf(*connection));
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: ")));
}

TEST_F(DBusHelperTest, doesNotSendInvalidUtf8) {
    start();
    FakeService helper(daemon, busName, &silence);
    const auto connection = connect();
    run(*proxyOf(*connection), {"up", "\xFF"});
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("error: The message cannot be sent: Invalid argument"));
}

TEST_F(DBusHelperTest, isInvalidatedOnceWithoutABusAndWorksOnceThereIsOne) {
    const auto early = connect();
    EXPECT_EQ(helperOf(*early), nullptr);
    early->invalidate();
    early->invalidate();

    start();
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply("late"); });
    const auto connection = connect();
    run(*proxyOf(*connection));
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("invalidated", "output: late"));
}

TEST_F(DBusHelperTest, hasNoProxyWithoutTheService) {
    start();
    const auto connection = connect();
    EXPECT_EQ(helperOf(*connection), nullptr);
    connection->invalidate();
    EXPECT_THAT(told, ElementsAre("invalidated"));
}

TEST_F(DBusHelperTest, hasNoProxyIfItIsInvalidatedBeforeTheBusTellsOfTheService) {
    daemon.start();
    FakeService helper(daemon, busName, &silence);
    const auto connection = connect();
    std::optional<bool> hasProxy;
    runLoopUntil([this] { return bus.isConnected(); });
    ASSERT_FALSE(helpers->presence().isKnown());
    connection->remoteObjectProxyWithErrorHandler(
        [](const Error&) {}, [&](const auto& proxy) { hasProxy = proxy != nullptr; });
    connection->invalidate();
    runLoopUntil([&] { return hasProxy.has_value(); });
    EXPECT_TRUE(helpers->presence().isPresent());
    EXPECT_FALSE(*hasProxy);
}

TEST_F(DBusHelperTest, reachesAServiceThatTheBusWouldStart) {
    std::ofstream(daemon.services() / "helper.service")
        << "[D-BUS Service]\nName=" << busName << "\nExec=/bin/false\n";
    start();
    const auto connection = connect();
    const auto helper = proxyOf(*connection);
    ASSERT_NE(helper, nullptr);
    run(*helper);
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: ")));
}

TEST_F(DBusHelperTest, isInterruptedWhenTheHelperEndsBeforeItReplies) {
    start();
    auto mute = std::make_unique<FakeService>(daemon, busName, &silence);
    const auto connection = connect();
    const auto proxy = proxyOf(*connection);
    run(*proxy);
    runLoopUntil([&] { return mute->calls("RunGoTool").size() == 1; });
    mute.reset();
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("error: com.quoxelin.desktop.Helper ended before it replied.",
                                  "interrupted"));
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply("again"); });
    run(*proxy);
    waitForNotes(3);
    EXPECT_EQ(told[2], "output: again");
}

TEST_F(DBusHelperTest, isInvalidatedWhenTheBusEnds) {
    start();
    FakeService helper(daemon, busName, &silence);
    const auto connection = connect();
    run(*proxyOf(*connection));
    runLoopUntil([&] { return helper.calls("RunGoTool").size() == 1; });
    daemon.stop();
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: "), "invalidated"));
}

TEST_F(DBusHelperTest, deliversNoReplyOnceInvalidated) {
    start();
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply("late"); });
    const auto connection = connect();
    run(*proxyOf(*connection));
    connection->invalidate();
    waitForNotes(1);
    // When the second request is answered, the first would have been, too.
    const auto other = connect();
    run(*proxyOf(*other));
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("invalidated", "output: late"));
}

/// Repeats the requests of a start without a helper ten times.
TEST_F(DBusHelperTest, neitherBlocksNorLeaksWhileTheBusHangs) {
    const HungBus hung;
    Bus silentBus(hung.address());
    silentBus.serve();
    DBusHelper silent(dispatch, silentBus);
    std::optional<Resources> first;
    for (int attempt = 1; attempt <= 10; ++attempt) {
        const auto began = std::chrono::steady_clock::now();
        const auto connection = silent.privilegedConnection(busName);
        connection->resume();
        EXPECT_EQ(helperOf(*connection), nullptr);
        connection->invalidate();
        EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(100));
        runLoopUntilIdle();
        if (!first)
            first.emplace();
    }
    EXPECT_EQ(Resources(), first);
}

TEST_F(DBusHelperTest, mayBeDestroyedBeforeItsConnections) {
    start();
    FakeService helper(daemon, busName, &silence);
    const auto connection = connect();
    const auto proxy = proxyOf(*connection);
    run(*proxy);
    helpers.reset();
    run(*proxy);
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("was invalidated.")));
    connection->invalidate();
}

TEST_F(DBusHelperTest, acceptsCallsFromOtherThreads) {
    start();
    FakeService helper(daemon, busName, [](const auto& call) { return call.createReply("done"); });
    runLoopUntil([this] { return helpers->presence().isPresent(); });
    std::thread([&] {
        const auto connection = connect();
        connection->remoteObjectProxyWithErrorHandler([](const Error&) {},
                                                      [this](const auto& proxy) { run(*proxy); });
    }).join();
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("output: done"));
}

TEST_F(DBusHelperTest, canWaitForTheReplyToWhatWasJustSent) {
    start();
    helpers->waitForRecentReplies(std::chrono::hours(1));
    std::promise<void> isThere;
    std::thread elsewhere([&] {
        QEventLoop loop;
        FakeService helper(daemon, busName, [&](const auto& call) {
            loop.quit();
            return call.createReply("down");
        });
        isThere.set_value();
        loop.exec();
    });
    isThere.get_future().wait();
    runLoopUntil([this] { return helpers->presence().isPresent(); });
    const auto connection = connect();
    connection->remoteObjectProxyWithErrorHandler([](const Error&) {},
                                                  [this](const auto& proxy) { run(*proxy); });
    helpers->waitForRecentReplies(std::chrono::hours(1));
    EXPECT_THAT(told, ElementsAre("output: down"));
    elsewhere.join();
}

} // namespace quoxelin::testing
