#include "Platform/Linux/Services/DBusNotifications.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QDBusArgument>
#include <thread>

namespace quoxelin::testing {

namespace {

constexpr unsigned everything =
    UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionSound;

struct Delegate final : UNUserNotificationCenterDelegate {
    void willPresent(const UNNotificationRequest& notification,
                     std::function<void(unsigned)> completionHandler) override {
        asked.push_back(notification.identifier);
        completionHandler(options);
    }
    unsigned options = everything;
    std::vector<std::string> asked;
};

} // namespace

class DBusNotificationsTest : public ::testing::Test {
  protected:
    DBusNotificationsTest() { center.setDelegate(delegate); }

    void startServer() {
        server = std::make_unique<FakeService>(
            daemon, "org.freedesktop.Notifications", [this](const QDBusMessage& call) {
                if (call.member() == "GetCapabilities")
                    return call.createReply(QVariant(capabilities));
                return call.createReply(QVariant(1U));
            });
    }

    int status() {
        std::optional<int> status;
        center.getNotificationSettings(
            [&](const UNNotificationSettings& settings) { status = settings.authorizationStatus; });
        EXPECT_FALSE(status);
        runLoopUntil([&] { return status.has_value(); });
        return *status;
    }

    void awaitStatus(UNAuthorizationStatus expected) {
        while (status() != static_cast<int>(expected))
            runLoopUntilIdle();
    }

    /// The arguments of the only notification that reached the server.
    QVariantList shown() {
        runLoopUntil([&] { return !server->calls("Notify").empty(); });
        EXPECT_EQ(server->calls("Notify").size(), 1u);
        return server->calls("Notify").front().arguments();
    }

    static QVariantMap hints(const QVariantList& arguments) {
        return qdbus_cast<QVariantMap>(arguments.at(6));
    }

    RunningBus daemon;
    ServedBus bus{daemon.address()};
    DBusNotifications center{bus};
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    QStringList capabilities{"body", "body-markup"};
    std::unique_ptr<FakeService> server;
};

TEST_F(DBusNotificationsTest, allowsNotificationsWhileThereIsAServer) {
    awaitStatus(UNAuthorizationStatus::denied);
    startServer();
    awaitStatus(UNAuthorizationStatus::authorized);
    server.reset();
    awaitStatus(UNAuthorizationStatus::denied);
}

TEST_F(DBusNotificationsTest, grantsWhatTheServerGrants) {
    std::optional<bool> granted;
    const auto take = [&](bool value, const std::optional<Error>& error) {
        granted = value;
        EXPECT_FALSE(error);
    };
    center.requestAuthorization(UNAuthorizationOptionAlert, take);
    runLoopUntil([&] { return granted.has_value(); });
    EXPECT_EQ(granted, false);
    startServer();
    awaitStatus(UNAuthorizationStatus::authorized);
    granted.reset();
    center.requestAuthorization(UNAuthorizationOptionAlert, take);
    runLoopUntil([&] { return granted.has_value(); });
    EXPECT_EQ(granted, true);
}

TEST_F(DBusNotificationsTest, passesTheNotificationToTheServer) {
    startServer();
    center.add(
        {.identifier = "one", .title = "Copied", .body = "100.64.0.1", .defaultSound = true});
    const auto arguments = shown();
    EXPECT_EQ(delegate->asked, std::vector<std::string>{"one"});
    EXPECT_EQ(arguments.mid(0, 6), (QVariantList{"Quoxelin", 0U, "com.quoxelin.desktop", "Copied",
                                                 "100.64.0.1", QStringList()}));
    EXPECT_EQ(hints(arguments), (QVariantMap{{"desktop-entry", "com.quoxelin.desktop"},
                                             {"sound-name", "message-new-instant"}}));
    EXPECT_EQ(arguments.at(7), -1);
}

TEST_F(DBusNotificationsTest, isSilentWithoutASound) {
    startServer();
    center.add({"one", "t", "b", false});
    EXPECT_EQ(hints(shown()).value("suppress-sound"), true);
}

TEST_F(DBusNotificationsTest, neverLetsTheBodyBecomeMarkup) {
    startServer();
    center.add({"one", "<i>t</i>", "<b>a</b> & \"c\"", false});
    const auto arguments = shown();
    EXPECT_EQ(arguments.at(3), "<i>t</i>");
    EXPECT_EQ(arguments.at(4), "&lt;b&gt;a&lt;/b&gt; &amp; &quot;c&quot;");
}

TEST_F(DBusNotificationsTest, leavesTheBodyUnchangedIfTheServerHasNoMarkup) {
    capabilities = {"body"};
    startServer();
    center.add({"one", "t", "<b>a</b>", false});
    EXPECT_EQ(shown().at(4), "<b>a</b>");
}

TEST_F(DBusNotificationsTest, showsNothingThatTheDelegateRejects) {
    startServer();
    delegate->options = UNNotificationPresentationOptionSound;
    center.add({"hidden", "", "", false});
    runLoopUntil([&] { return delegate->asked.size() == 1; });
    delegate->options = UNNotificationPresentationOptionBanner;
    center.add({"shown", "second", "", true});
    const auto arguments = shown();
    EXPECT_EQ(arguments.at(3), "second");
    EXPECT_EQ(hints(arguments).value("suppress-sound"), true);
}

TEST_F(DBusNotificationsTest, dropsNotificationsWithoutAServerAndShowsLaterOnes) {
    center.add({"lost", "lost", "", false});
    awaitStatus(UNAuthorizationStatus::denied);
    startServer();
    awaitStatus(UNAuthorizationStatus::authorized);
    center.add({"kept", "kept", "", false});
    EXPECT_EQ(shown().at(3), "kept");
    EXPECT_EQ(delegate->asked, std::vector<std::string>{"kept"});
}

TEST_F(DBusNotificationsTest, comesBackWithTheBus) {
    awaitStatus(UNAuthorizationStatus::denied);
    daemon.stop();
    runLoopUntil([&] { return !bus.isConnected(); });
    center.add({"lost", "lost", "", false});
    daemon.start();
    startServer();
    awaitStatus(UNAuthorizationStatus::authorized);
    center.add({"kept", "kept", "", false});
    EXPECT_EQ(shown().at(3), "kept");
}

TEST_F(DBusNotificationsTest, acceptsCallsFromOtherThreadsAndAnyText) {
    startServer();
    using namespace std::string_literals;
    std::thread([&] {
        center.add(
            {.identifier = "one", .title = "a\0b\xff\x01\n"s, .body = std::string(1 << 16, '<')});
        center.getNotificationSettings([](const UNNotificationSettings&) {});
    }).join();
    EXPECT_EQ(shown().at(4).toString().size(), 4 << 16);
}

TEST_F(DBusNotificationsTest, survivesAServerThatDies) {
    server = std::make_unique<FakeService>(daemon, "org.freedesktop.Notifications",
                                           [](const QDBusMessage&) { return QDBusMessage(); });
    center.add({"lost", "", "", false});
    runLoopUntil([&] { return !server->calls("GetCapabilities").empty(); });
    server.reset();
    startServer();
    awaitStatus(UNAuthorizationStatus::authorized);
    center.add({"kept", "kept", "", false});
    EXPECT_EQ(shown().at(3), "kept");
}

} // namespace quoxelin::testing
