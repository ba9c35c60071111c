#include "Platform/Linux/Services/DBusHelper.h"
#include "Platform/Linux/Services/StartedServices.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <gmock/gmock.h>

namespace quoxelin::testing {

using ::testing::HasSubstr;

/// A private system bus with a simulated polkit.
class DBusHelperServiceTest : public ::testing::Test {
  protected:
    void makeActivatable() {
        std::ofstream(daemon.services() / "helper.service")
            << "[D-BUS Service]\nName=com.quoxelin.desktop.Helper\nExec=/bin/false\n";
    }

    void start() {
        daemon.start();
        runLoopUntil([this] { return bus.isConnected(); });
    }

    Result<void, Error> enroll() {
        std::optional<Result<void, Error>> told;
        helper.registerService([&](const auto& outcome) { told = outcome; });
        runLoopUntil([&] { return told.has_value(); });
        return *told;
    }

    SMAppServiceStatus status() {
        std::optional<int> told;
        helper.status([&](int status) { told = status; });
        runLoopUntil([&] { return told.has_value(); });
        return static_cast<SMAppServiceStatus>(*told);
    }

    /// polkit's answer to every question.
    static FakeService::Answer answers(bool isAuthorized, bool isChallenge) {
        return [=](const QDBusMessage& call) {
            QDBusArgument result;
            result.beginStructure();
            result << isAuthorized << isChallenge << QMap<QString, QString>();
            result.endStructure();
            return call.createReply(QVariant::fromValue(result));
        };
    }

    PrivateBus daemon;
    ServedBus bus{daemon.address()};
    ServicePresence presence{bus, DBusHelper::service,
                             ServicePresence::Counts::runningOrActivatable, [] {}};
    DBusHelperService helper{bus, presence};
};

TEST_F(DBusHelperServiceTest, isNotFoundWithoutABus) {
    const auto registered = enroll();
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error().localizedDescription, "The system bus does not answer.");
    EXPECT_EQ(status(), SMAppServiceStatus::notFound);
}

TEST_F(DBusHelperServiceTest, isNotFoundIfTheHelperIsNotInstalled) {
    start();
    const auto registered = enroll();
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error().code, 6);
    EXPECT_THAT(registered.error().localizedDescription, HasSubstr("com.quoxelin.desktop.Helper"));
    EXPECT_EQ(status(), SMAppServiceStatus::notFound);
}

TEST_F(DBusHelperServiceTest, isRegisteredByItsInstallation) {
    makeActivatable();
    start();
    EXPECT_TRUE(enroll());
    EXPECT_TRUE(enroll());
    const auto unregistered = helper.unregisterService();
    ASSERT_FALSE(unregistered);
    EXPECT_EQ(unregistered.error().code, 1);
}

TEST_F(DBusHelperServiceTest, isEnabledIfPolkitAllowsIt) {
    makeActivatable();
    start();
    FakeService polkit(daemon, "org.freedesktop.PolicyKit1", answers(true, false));
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
    const auto questions = polkit.calls("CheckAuthorization");
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].arguments().at(1).toString(), "com.quoxelin.desktop.helper.run");
    EXPECT_EQ(questions[0].arguments().at(3).toUInt(), 0u) << "nobody is asked";
}

TEST_F(DBusHelperServiceTest, isEnabledIfItRuns) {
    start();
    FakeService running(daemon, DBusHelper::service, answers(false, false));
    runLoopUntil([this] { return presence.isPresent(); });
    FakeService polkit(daemon, "org.freedesktop.PolicyKit1", answers(true, false));
    EXPECT_TRUE(enroll());
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
}

TEST_F(DBusHelperServiceTest, requiresApprovalIfPolkitDoesNotAllowIt) {
    makeActivatable();
    start();
    for (const bool isChallenge : {false, true}) {
        FakeService polkit(daemon, "org.freedesktop.PolicyKit1", answers(false, isChallenge));
        EXPECT_EQ(status(), SMAppServiceStatus::requiresApproval);
    }
    EXPECT_EQ(status(), SMAppServiceStatus::requiresApproval) << "without a polkit";
}

TEST_F(DBusHelperServiceTest, isKnownByItsPropertyListOnly) {
    makeActivatable();
    start();
    StartedServices services("/nonexistent", bus, presence);
    const auto other = services.daemon("com.example.other.plist");
    std::optional<int> told;
    other->status([&](int status) { told = status; });
    runLoopUntil([&] { return told.has_value(); });
    EXPECT_EQ(told, static_cast<int>(SMAppServiceStatus::notFound));
}

/// A canceled question leaks nothing.
TEST_F(DBusHelperServiceTest, waitsForAHangingPolkitWithoutBlockingTheLoop) {
    makeActivatable();
    start();
    FakeService polkit(daemon, "org.freedesktop.PolicyKit1",
                       [](const auto&) { return QDBusMessage(); });
    EXPECT_TRUE(enroll());
    std::optional<Resources> first;
    for (std::size_t attempt = 1; attempt <= 10; ++attempt) {
        DBusHelperService asking(bus, presence);
        bool isAnswered = false, hasTurned = false;
        asking.status([&](int) { isAnswered = true; });
        QMetaObject::invokeMethod(
            qApp, [&] { hasTurned = true; }, Qt::QueuedConnection);
        runLoopUntil(
            [&] { return hasTurned && polkit.calls("CheckAuthorization").size() == attempt; });
        EXPECT_FALSE(isAnswered);
        if (!first)
            first.emplace();
    }
    EXPECT_EQ(Resources(), first);
}

} // namespace quoxelin::testing
