#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/Services/LinuxXPC.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* service = "com.quoxelin.desktop.Helper";

/// A system bus of the test's own with a helper that the test plays.
class LinuxXPCTest : public ::testing::Test {
  protected:
    LinuxXPCTest() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toLatin1()); }
    ~LinuxXPCTest() override { qunsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }

    /// Everything that a connection tells is written down, on the main thread.
    std::function<void()> notes(const std::string& line) {
        return [this, line] { dispatch.main().async([this, line] { told.push_back(line); }); };
    }

    std::shared_ptr<NSXPCConnection> connect() {
        auto connection = xpc->privilegedConnection(service);
        connection->setInterruptionHandler(notes("interrupted"));
        connection->setInvalidationHandler(notes("invalidated"));
        connection->resume();
        made.push_back(connection);
        return connection;
    }

    /// What the connections still tell needs the test to be there.
    void TearDown() override {
        if (xpc == nullptr)
            return;
        for (const auto& connection : made)
            connection->invalidate();
        runLoopUntil([this] {
            return std::count(told.begin(), told.end(), "invalidated") ==
                   static_cast<std::ptrdiff_t>(made.size());
        });
    }

    std::shared_ptr<HelperToolProtocol> helperOf(NSXPCConnection& connection) {
        return connection.remoteObjectProxyWithErrorHandler(
            [this](const Error& error) { notes("error: " + error.localizedDescription)(); });
    }

    void run(HelperToolProtocol& helper, const std::vector<std::string>& arguments = {"up"}) {
        helper.runGoToolWithPath("/path", arguments,
                                 [this](std::string output) { notes("output: " + output)(); });
    }

    void waitForNotes(std::size_t count) {
        runLoopUntil([&] { return told.size() >= count; });
    }

    PrivateBus bus;
    QtDispatch dispatch;
    std::unique_ptr<LinuxXPC> xpc = std::make_unique<LinuxXPC>(dispatch);
    std::vector<std::string> told;
    std::vector<std::shared_ptr<NSXPCConnection>> made;
};

QDBusMessage silence(const QDBusMessage&) {
    return {};
}

TEST_F(LinuxXPCTest, carriesAMessageAndItsReply) {
    bus.start();
    FakeService helper(bus, service, [](const auto& call) { return call.createReply("done\n"); });
    const auto connection = connect();
    run(*helperOf(*connection), {"up", "--signal-host", "h"});
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

TEST_F(LinuxXPCTest, carriesAPing) {
    bus.start();
    FakeService helper(bus, service, [](const auto& call) { return call.createReply(true); });
    const auto connection = connect();
    helperOf(*connection)->pingWithReply([this](bool isThere) {
        notes(isThere ? "is there" : "is not there")();
    });
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("is there"));
}

TEST_F(LinuxXPCTest, tellsOfARefusalInTheHelpersWords) {
    bus.start();
    FakeService helper(bus, service, [](const auto& call) {
        return call.createErrorReply(QDBusError::AccessDenied, "Not authorised.");
    });
    const auto connection = connect();
    run(*helperOf(*connection));
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("error: Not authorised."));
}

TEST_F(LinuxXPCTest, tellsOfAReplyThatIsNoText) {
    bus.start();
    FakeService helper(bus, service, [](const auto& call) { return call.createReply(7); });
    const auto connection = connect();
    run(*helperOf(*connection));
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: ")));
}

TEST_F(LinuxXPCTest, sendsNothingThatIsNoText) {
    bus.start();
    FakeService helper(bus, service, &silence);
    const auto connection = connect();
    run(*helperOf(*connection), {"up", "\xFF"});
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("error: Only texts in UTF-8 can be sent."));
}

TEST_F(LinuxXPCTest, isInvalidatedOnceWithoutABusAndWorksWhenItHasCome) {
    const auto early = connect();
    EXPECT_EQ(helperOf(*early), nullptr);
    early->invalidate();
    waitForNotes(1);

    bus.start();
    FakeService helper(bus, service, [](const auto& call) { return call.createReply("late"); });
    const auto connection = connect();
    run(*helperOf(*connection));
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("invalidated", "output: late"));
}

TEST_F(LinuxXPCTest, isInvalidatedWithoutTheService) {
    bus.start();
    const auto connection = connect();
    EXPECT_EQ(helperOf(*connection), nullptr);
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("invalidated"));
}

TEST_F(LinuxXPCTest, reachesAServiceThatTheBusWouldStart) {
    std::ofstream(bus.services() / "helper.service")
        << "[D-BUS Service]\nName=" << service << "\nExec=/bin/false\n";
    bus.start();
    const auto connection = connect();
    const auto helper = helperOf(*connection);
    ASSERT_NE(helper, nullptr);
    run(*helper);
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: ")));
}

TEST_F(LinuxXPCTest, isInterruptedWhenTheHelperEndsBeforeItReplies) {
    bus.start();
    bool answers = false;
    FakeService helper(bus, service, [&](const auto& call) {
        return answers ? call.createReply("again") : QDBusMessage();
    });
    const auto connection = connect();
    const auto proxy = helperOf(*connection);
    run(*proxy);
    runLoopUntil([&] { return helper.calls("RunGoTool").size() == 1; });
    helper.disown();
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("error: com.quoxelin.desktop.Helper ended before it replied.",
                                  "interrupted"));
    helper.own();
    answers = true;
    run(*proxy);
    waitForNotes(3);
    EXPECT_EQ(told[2], "output: again");
}

TEST_F(LinuxXPCTest, isInvalidatedWhenTheBusEnds) {
    bus.start();
    FakeService helper(bus, service, &silence);
    const auto connection = connect();
    run(*helperOf(*connection));
    runLoopUntil([&] { return helper.calls("RunGoTool").size() == 1; });
    bus.stop();
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre(HasSubstr("error: "), "invalidated"));
}

TEST_F(LinuxXPCTest, repliesNothingOnceInvalidated) {
    bus.start();
    FakeService helper(bus, service, [](const auto& call) { return call.createReply("late"); });
    const auto connection = connect();
    run(*helperOf(*connection));
    connection->invalidate();
    waitForNotes(1);
    // By the time that another one is answered the first one would have been.
    const auto other = connect();
    run(*helperOf(*other));
    waitForNotes(2);
    EXPECT_THAT(told, ElementsAre("invalidated", "output: late"));
}

TEST_F(LinuxXPCTest, waitsAMomentOnlyForABusThatHangs) {
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const auto path = bus.address().mid(int(std::strlen("unix:path="))).toStdString();
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    const auto connection = connect();
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(helperOf(*connection), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
    connection->invalidate();
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("invalidated"));
    xpc.reset();
    ::close(listener);
}

TEST_F(LinuxXPCTest, mayEndBeforeItsConnections) {
    bus.start();
    FakeService helper(bus, service, &silence);
    const auto connection = connect();
    const auto proxy = helperOf(*connection);
    run(*proxy);
    xpc.reset();
    run(*proxy);
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre(HasSubstr("was invalidated.")));
    connection->invalidate();
}

TEST_F(LinuxXPCTest, canWaitForTheReplyToWhatWasJustSent) {
    bus.start();
    xpc->waitForRecentReplies(std::chrono::hours(1));
    FakeService helper(bus, service, [](const auto& call) { return call.createReply("down"); });
    const auto connection = connect();
    run(*helperOf(*connection));
    bool waited = false;
    std::thread waiting([&] {
        xpc->waitForRecentReplies(std::chrono::hours(1));
        dispatch.main().async([&] { waited = true; });
    });
    runLoopUntil([&] { return waited; });
    waiting.join();
    waitForNotes(1);
    EXPECT_THAT(told, ElementsAre("output: down"));
}

} // namespace quoxelin::testing
