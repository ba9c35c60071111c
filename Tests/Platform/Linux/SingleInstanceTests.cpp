#include "Platform/Linux/Services/SingleInstance.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QThread>
#include <thread>

namespace quoxelin::testing {

namespace {

using Role = SingleInstance::Role;
const QString applicationName = "com.quoxelin.desktop";
constexpr std::chrono::milliseconds patience{10000};

/// An instance and the requests that it has received.
struct Instance {
    explicit Instance(const QString& address) : bus(address.toStdString()) {
        bus.serveUntil([this] { return bus.isConnected(); }, patience);
        if (QThread::currentThread() == qApp->thread())
            bus.serve();
    }

    auto claim(const std::optional<std::string>& url = std::nullopt,
               std::chrono::milliseconds wait = patience) {
        return single.claim(url, wait);
    }

    Bus bus;
    std::vector<std::string> asked;
    SingleInstance single{bus,
                          {.open =
                               [this](const std::vector<std::string>& urls) {
                                   for (const auto& url : urls)
                                       asked.push_back("open " + url);
                               },
                           .activate = [this] { asked.push_back("activate"); }}};
};

} // namespace

class SingleInstanceTest : public ::testing::Test {
  protected:
    /// Looks to the first instance like a start of another process.
    Result<Role, std::string> startAnother(const std::optional<std::string>& url = std::nullopt) {
        std::optional<Result<Role, std::string>> outcome;
        std::thread other([&] {
            Instance second(daemon.address());
            outcome = second.claim(url);
            EXPECT_TRUE(second.asked.empty());
            QMetaObject::invokeMethod(
                qApp, [] {}, Qt::QueuedConnection);
        });
        pollUntil([&] { return outcome.has_value(); });
        other.join();
        return *outcome;
    }

    RunningBus daemon;
};

TEST_F(SingleInstanceTest, theFirstInstanceOwnsTheName) {
    Instance first(daemon.address());
    EXPECT_EQ(first.claim("quoxelin://x?token=1"), Role::first);
    EXPECT_TRUE(daemon.connect().interface()->isServiceRegistered(applicationName));
    EXPECT_TRUE(first.asked.empty());
}

TEST_F(SingleInstanceTest, aSecondInstanceHandsItsUrlOver) {
    Instance first(daemon.address());
    ASSERT_EQ(first.claim(), Role::first);
    EXPECT_EQ(startAnother("quoxelin://callback?token=a%20b"), Role::follower);
    EXPECT_EQ(first.asked, std::vector<std::string>{"open quoxelin://callback?token=a%20b"});
}

TEST_F(SingleInstanceTest, aSecondInstanceWithoutAUrlBringsTheFirstToTheFront) {
    Instance first(daemon.address());
    ASSERT_EQ(first.claim(), Role::first);
    EXPECT_EQ(startAnother(), Role::follower);
    EXPECT_EQ(first.asked, std::vector<std::string>{"activate"});
}

TEST_F(SingleInstanceTest, aFirstInstanceThatDoesNotAnswerIsIgnored) {
    Instance first(daemon.address());
    ASSERT_EQ(first.claim(), Role::first);
    // The first instance's loop does not run meanwhile.
    Instance second(daemon.address());
    const auto outcome = second.claim("quoxelin://x", std::chrono::milliseconds(50));
    ASSERT_FALSE(outcome);
    EXPECT_TRUE(outcome.error().starts_with("the running application does not answer: "))
        << outcome.error();
}

TEST_F(SingleInstanceTest, theNextInstanceOwnsTheNameOnceTheFirstHasExited) {
    {
        Instance first(daemon.address());
        ASSERT_EQ(first.claim(), Role::first);
    }
    Instance next(daemon.address());
    EXPECT_EQ(next.claim(), Role::first);
}

TEST_F(SingleInstanceTest, startsWithoutABusAndOwnsTheNameOnceThereIsOne) {
    daemon.stop();
    Instance first(daemon.address());
    EXPECT_EQ(first.claim("quoxelin://x"), Role::first);
    daemon.start();
    runLoopUntil([&] { return first.bus.isConnected(); });
    EXPECT_EQ(startAnother("quoxelin://y"), Role::follower);
    EXPECT_EQ(first.asked, std::vector<std::string>{"open quoxelin://y"});
}

TEST_F(SingleInstanceTest, answersTheCallsOfTheDesktop) {
    Instance first(daemon.address());
    ASSERT_EQ(first.claim(), Role::first);
    auto connection = daemon.connect();
    const auto call = [&](const QString& method, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(applicationName, "/com/quoxelin/desktop",
                                                      "org.freedesktop.Application", method);
        message.setArguments(arguments);
        const auto pending = connection.asyncCall(message);
        pollUntil([&] { return pending.isFinished(); });
        return pending.reply().type() == QDBusMessage::ReplyMessage;
    };
    EXPECT_TRUE(call("Open", {QStringList{"quoxelin:a", "quoxelin:b"}, QVariantMap()}));
    EXPECT_TRUE(call("ActivateAction", {"x", QVariantList(), QVariantMap()}));
    EXPECT_TRUE(call("Activate", {QVariantMap()}));
    EXPECT_FALSE(call("Open", {"no list"}));
    EXPECT_FALSE(call("Quit", {}));
    EXPECT_EQ(first.asked, (std::vector<std::string>{"open quoxelin:a", "open quoxelin:b",
                                                     "activate", "activate"}));
}

} // namespace quoxelin::testing
