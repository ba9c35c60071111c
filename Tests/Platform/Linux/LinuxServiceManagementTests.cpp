#include "Platform/Linux/Services/LinuxServiceManagement.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <gmock/gmock.h>
#include <thread>

namespace quoxelin::testing {

using ::testing::HasSubstr;

constexpr const char* entryName = "com.quoxelin.desktop.desktop";
constexpr const char* entryText = "[Desktop Entry]\nType=Application\nName=Quoxelin\n"
                                  "Exec=/usr/bin/quoxelin-desktop\n"
                                  "X-GNOME-Autostart-enabled=true\n";

class LinuxLoginItem : public ::testing::Test {
  protected:
    LinuxLoginItem() {
        const auto folder = directory.path() / "bundle" / "Contents" / "Library" / "LoginItems";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / entryName) << entryText;
    }

    static int raw(SMAppServiceStatus status) { return static_cast<int>(status); }

    void writeEntry(const std::string& text) {
        std::filesystem::create_directories(autostart);
        std::ofstream(autostart / entryName) << text;
    }

    TemporaryDirectory directory;
    std::filesystem::path autostart = directory.path() / "config" / "autostart";
    LinuxServiceManagement services{directory.path() / "bundle", autostart};
    std::unique_ptr<SMAppService> item = services.mainApp();
};

TEST_F(LinuxLoginItem, isTheBundlesEntryInTheUsersDirectory) {
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::notRegistered));
    ASSERT_TRUE(item->registerService());
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::enabled));
    EXPECT_EQ(contentsOf(autostart / entryName), entryText);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(autostart), {}), 1);
}

TEST_F(LinuxLoginItem, isReplacedByANewerOne) {
    writeEntry("[Desktop Entry]\nExec=/old\n");
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::enabled));
    ASSERT_TRUE(item->registerService());
    EXPECT_EQ(contentsOf(autostart / entryName), entryText);
    EXPECT_TRUE(item->registerService());
}

TEST_F(LinuxLoginItem, isRemovedWhenUnregistered) {
    ASSERT_TRUE(item->registerService());
    ASSERT_TRUE(item->unregisterService());
    EXPECT_FALSE(std::filesystem::exists(autostart / entryName));
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::notRegistered));
    const auto again = item->unregisterService();
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().code, 6);
}

TEST_F(LinuxLoginItem, staysSwitchedOffByAPerson) {
    for (const auto* off : {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n"}) {
        const auto text = std::string("[Desktop Entry]\nExec=/usr/bin/quoxelin-desktop\n") + off;
        writeEntry(text);
        EXPECT_EQ(item->status(), raw(SMAppServiceStatus::requiresApproval));
        const auto registered = item->registerService();
        ASSERT_FALSE(registered);
        EXPECT_EQ(registered.error().code, 1);
        EXPECT_EQ(contentsOf(autostart / entryName), text);
        EXPECT_TRUE(item->unregisterService());
    }
}

TEST_F(LinuxLoginItem, isWrittenAnewWhereItWasBroken) {
    writeEntry("\xFF\xFE no entry");
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::notRegistered));
    ASSERT_TRUE(item->registerService());
    EXPECT_EQ(item->status(), raw(SMAppServiceStatus::enabled));
}

TEST_F(LinuxLoginItem, tellsWhyItCannotBeWritten) {
    std::filesystem::remove_all(directory.path() / "bundle");
    const auto missing = item->registerService();
    ASSERT_FALSE(missing);
    EXPECT_THAT(missing.error().localizedDescription, HasSubstr(entryName));
    EXPECT_FALSE(std::filesystem::exists(autostart));
}

TEST_F(LinuxLoginItem, tellsWhyItsDirectoryCannotBeMade) {
    std::ofstream(autostart.parent_path()) << "a file where a directory belongs";
    const auto blocked = item->registerService();
    ASSERT_FALSE(blocked);
    EXPECT_THAT(blocked.error().localizedDescription, HasSubstr("Not a directory"));
}

/// A system bus of the test's own, and a polkit that the test plays.
class LinuxDaemonService : public ::testing::Test {
  protected:
    LinuxDaemonService() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toLatin1()); }
    ~LinuxDaemonService() override { qunsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }

    void makeActivatable() {
        std::ofstream(bus.services() / "helper.service")
            << "[D-BUS Service]\nName=com.quoxelin.desktop.Helper\nExec=/bin/false\n";
    }

    /// Calls the service on another thread: this one plays the other services meanwhile.
    template <typename Call>
    auto call(Call call) {
        std::atomic<bool> isDone = false;
        decltype(call()) outcome{};
        std::thread caller([&] {
            outcome = call();
            isDone = true;
            QMetaObject::invokeMethod(
                qApp, [] {}, Qt::QueuedConnection);
        });
        runLoopUntil([&] { return isDone.load(); });
        caller.join();
        return outcome;
    }

    SMAppServiceStatus status() {
        return call([this] { return static_cast<SMAppServiceStatus>(daemon->status()); });
    }

    /// polkit's answer to everything.
    static FakeService::Answer answers(bool isAuthorized, bool isChallenge) {
        return [=](const QDBusMessage& call) {
            QDBusArgument result;
            result.beginStructure();
            result << isAuthorized << isChallenge << QMap<QString, QString>();
            result.endStructure();
            return call.createReply(QVariant::fromValue(result));
        };
    }

    PrivateBus bus;
    LinuxServiceManagement services{"/nonexistent", "/nonexistent"};
    std::unique_ptr<SMAppService> daemon = services.daemon("com.quoxelin.desktop.helper.plist");
};

TEST_F(LinuxDaemonService, isNotFoundWithoutABus) {
    const auto registered = daemon->registerService();
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error().localizedDescription, "The system bus does not answer.");
    EXPECT_EQ(daemon->status(), static_cast<int>(SMAppServiceStatus::notFound));
}

TEST_F(LinuxDaemonService, isNotFoundWhereTheHelperIsNotInstalled) {
    bus.start();
    const auto registered = daemon->registerService();
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error().code, 6);
    EXPECT_THAT(registered.error().localizedDescription, HasSubstr("com.quoxelin.desktop.Helper"));
    EXPECT_EQ(status(), SMAppServiceStatus::notFound);
}

TEST_F(LinuxDaemonService, isRegisteredByItsInstallation) {
    makeActivatable();
    bus.start();
    EXPECT_TRUE(daemon->registerService());
    EXPECT_TRUE(daemon->registerService());
    const auto unregistered = daemon->unregisterService();
    ASSERT_FALSE(unregistered);
    EXPECT_EQ(unregistered.error().code, 1);
}

TEST_F(LinuxDaemonService, isEnabledWherePolkitAllowsIt) {
    makeActivatable();
    bus.start();
    FakeService polkit(bus, "org.freedesktop.PolicyKit1", answers(true, false));
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
    const auto questions = polkit.calls("CheckAuthorization");
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].arguments().at(1).toString(), "com.quoxelin.desktop.helper.run");
    EXPECT_EQ(questions[0].arguments().at(3).toUInt(), 0u) << "nobody is asked";
}

TEST_F(LinuxDaemonService, isEnabledWhereItRuns) {
    bus.start();
    FakeService helper(bus, "com.quoxelin.desktop.Helper", answers(false, false));
    FakeService polkit(bus, "org.freedesktop.PolicyKit1", answers(true, false));
    EXPECT_TRUE(daemon->registerService());
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
}

TEST_F(LinuxDaemonService, requiresApprovalWherePolkitDoesNotAllowIt) {
    makeActivatable();
    bus.start();
    for (const bool isChallenge : {false, true}) {
        FakeService polkit(bus, "org.freedesktop.PolicyKit1", answers(false, isChallenge));
        EXPECT_EQ(status(), SMAppServiceStatus::requiresApproval);
    }
    EXPECT_EQ(status(), SMAppServiceStatus::requiresApproval) << "without a polkit";
}

TEST_F(LinuxDaemonService, isKnownByItsPropertyListOnly) {
    makeActivatable();
    bus.start();
    const auto other = services.daemon("com.example.other.plist");
    EXPECT_FALSE(other->registerService());
    EXPECT_EQ(other->status(), static_cast<int>(SMAppServiceStatus::notFound));
}

} // namespace quoxelin::testing
