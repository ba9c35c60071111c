#include "Platform/Linux/Services/PackageKitUpdates.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>

namespace quoxelin::testing {

namespace {

const QString service = "org.freedesktop.PackageKit";
const QString transactionInterface = "org.freedesktop.PackageKit.Transaction";

constexpr uint success = 1;
constexpr uint failed = 2;
constexpr uint canceled = 3;

} // namespace

class PackageKitUpdatesTest : public ::testing::Test {
  protected:
    PackageKitUpdatesTest() {
        observation = controller->updater().observeCanCheckForUpdates(
            [this](bool canCheck) { told.push_back(canCheck); });
    }

    void startPackageKit() {
        packageKit = std::make_unique<FakeService>(
            daemon, service, [this](const QDBusMessage& call) { return answer(call); });
        runLoopUntil([&] { return told.back(); });
    }

    QDBusMessage answer(const QDBusMessage& call) {
        if (call.member() == "CreateTransaction") {
            path = QString("/%1_test").arg(++transactions);
            return call.createReply(QVariant::fromValue(QDBusObjectPath(path)));
        }
        EXPECT_EQ(call.path(), call.member() == "Later" ? "/" : path);
        if (refused == call.member())
            return call.createErrorReply("org.freedesktop.PackageKit.Transaction.RefusedByPolicy",
                                         "not for you");
        if (call.member() == "GetUpdates")
            for (const auto& id : updates)
                signal("Package", {5U, id, "summary"});
        if (call.member() == "Resolve")
            for (const auto& id : installed)
                signal("Package", {1U, id, "summary"});
        if (call.member() == failing)
            signal("ErrorCode", {2U, "no network"});
        if (call.member() == "Cancel")
            signal("Finished", {canceled, 5U});
        if (QStringList{"RefreshCache", "GetUpdates", "Resolve", "UpdatePackages"}.contains(
                call.member()) &&
            call.member() != hanging)
            signal("Finished", {call.member() == failing ? failed : success, 5U});
        return call.createReply();
    }

    void signal(const QString& member, const QVariantList& arguments) {
        packageKit->signal(path, transactionInterface, member, arguments);
    }

    static QMessageBox* window() {
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QMessageBox*>(widget); box != nullptr && box->isVisible())
                return box;
        return nullptr;
    }

    static QString text() { return window() == nullptr ? QString() : window()->text(); }

    static void awaitText(const QString& expected) {
        runLoopUntil([&] { return text() == expected; });
    }

    static QStringList buttons() {
        QStringList names;
        for (const auto* button : window()->buttons())
            names.push_back(button->text());
        return names;
    }

    static void press(const QString& name) {
        for (auto* button : window()->buttons())
            if (button->text() == name) {
                button->click();
                return;
            }
        FAIL() << name.toStdString();
    }

    void check() { controller->checkForUpdates(); }

    /// An answer comes after everything that the bus has passed on before.
    void awaitWhatWasSent() {
        bool isAnswered = false;
        const auto later = bus.call({"org.freedesktop.PackageKit", "/", "test.Later", "Later"},
                                    nullptr, [&](const auto&) { isAnswered = true; });
        runLoopUntil([&] { return isAnswered; });
    }

    RunningBus daemon;
    ServedBus bus{daemon.address()};
    PackageKitUpdates updater{bus};
    std::unique_ptr<SPUStandardUpdaterController> controller =
        updater.makeStandardUpdaterController(true);
    std::vector<bool> told;
    Subscription observation;
    std::unique_ptr<FakeService> packageKit;
    int transactions = 0;
    QString path, refused, failing, hanging;
    QStringList updates{"quoxelin-desktop-extras;9;all;x", "other;1;all;x"};
    QStringList installed{"quoxelin-desktop;2.0;amd64;installed"};
};

TEST_F(PackageKitUpdatesTest, canCheckWhileThePackageServiceIsThere) {
    EXPECT_EQ(told, std::vector{false});
    check();
    EXPECT_EQ(window(), nullptr);
    startPackageKit();
    EXPECT_TRUE(controller->updater().canCheckForUpdates());
    packageKit->disown();
    runLoopUntil([&] { return !told.back(); });
    EXPECT_EQ(told, (std::vector{false, true, false}));
}

TEST_F(PackageKitUpdatesTest, cannotCheckBeforeItIsStarted) {
    PackageKitUpdates other(bus);
    const auto idle = other.makeStandardUpdaterController(false);
    startPackageKit();
    runLoopUntilIdle();
    EXPECT_FALSE(idle->updater().canCheckForUpdates());
}

TEST_F(PackageKitUpdatesTest, saysWhenThereIsNothingNewer) {
    startPackageKit();
    check();
    EXPECT_EQ(text(), "Checking for updates...");
    EXPECT_EQ(told.back(), false);
    awaitText("Quoxelin is up to date.");
    EXPECT_EQ(buttons(), QStringList{"Close"});
    EXPECT_EQ(told, (std::vector{false, true, false, true}));
    ASSERT_EQ(packageKit->calls("SetHints").size(), 3u);
    EXPECT_EQ(packageKit->calls("SetHints")[0].arguments(),
              QVariantList{QStringList{"interactive=true"}});
    EXPECT_EQ(packageKit->calls("RefreshCache")[0].arguments(), QVariantList{false});
    EXPECT_EQ(packageKit->calls("GetUpdates")[0].arguments(), QVariantList{qulonglong(2)});
    EXPECT_EQ(packageKit->calls("Resolve")[0].arguments(),
              (QVariantList{qulonglong(4), QStringList{"quoxelin-desktop"}}));
    press("Close");
    EXPECT_EQ(window(), nullptr);
}

TEST_F(PackageKitUpdatesTest, saysThatAnInstallationFromTheSourcesIsOne) {
    installed = QStringList{"quoxelin-desktop-extras;9;all;installed"};
    startPackageKit();
    check();
    awaitText("Quoxelin was installed from its sources.");
    EXPECT_EQ(window()->informativeText(), "The package manager does not update it.");
    EXPECT_EQ(buttons(), QStringList{"Close"});
    EXPECT_TRUE(told.back());
}

TEST_F(PackageKitUpdatesTest, installsTheNewerVersionIfTheUserWantsIt) {
    updates << "quoxelin-desktop;2.1;amd64;stable";
    startPackageKit();
    check();
    awaitText("Version 2.1 is available.");
    EXPECT_TRUE(controller->updater().canCheckForUpdates());
    EXPECT_TRUE(packageKit->calls("UpdatePackages").empty());
    press("Install");
    EXPECT_EQ(text(), "Installing version 2.1...");
    awaitText("Version 2.1 is installed.");
    ASSERT_EQ(packageKit->calls("UpdatePackages").size(), 1u);
    EXPECT_EQ(packageKit->calls("UpdatePackages")[0].arguments(),
              (QVariantList{qulonglong(2), QStringList{"quoxelin-desktop;2.1;amd64;stable"}}));
}

TEST_F(PackageKitUpdatesTest, installsNothingIfTheUserDoesNotWantIt) {
    updates << "quoxelin-desktop;2.1;amd64;stable";
    startPackageKit();
    check();
    awaitText("Version 2.1 is available.");
    press("Later");
    runLoopUntilIdle();
    EXPECT_EQ(window(), nullptr);
    EXPECT_TRUE(packageKit->calls("UpdatePackages").empty());
}

TEST_F(PackageKitUpdatesTest, saysWhatFailedAndCanCheckAgain) {
    for (const char* step : {"RefreshCache", "GetUpdates", "Resolve"}) {
        failing = step;
        if (!packageKit)
            startPackageKit();
        check();
        awaitText("The update failed.");
        EXPECT_EQ(window()->informativeText(), "no network");
        EXPECT_TRUE(told.back());
    }
    failing.clear();
    check();
    awaitText("Quoxelin is up to date.");
}

TEST_F(PackageKitUpdatesTest, passesOnARefusal) {
    refused = "RefreshCache";
    startPackageKit();
    check();
    awaitText("The update failed.");
    EXPECT_EQ(window()->informativeText(), "not for you");
}

TEST_F(PackageKitUpdatesTest, believesOnlyThePackageService) {
    hanging = "GetUpdates";
    startPackageKit();
    check();
    runLoopUntil([&] { return !packageKit->calls("GetUpdates").empty(); });
    daemon.forge(bus, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                 {service, "a", QString()});
    daemon.forge(bus, path, transactionInterface, "ErrorCode", {2U, "forged"});
    daemon.forge(bus, path, transactionInterface, "Finished", {failed, 5U});
    awaitWhatWasSent();
    EXPECT_EQ(text(), "Checking for updates...");
}

TEST_F(PackageKitUpdatesTest, survivesTheServiceStoppingMeanwhile) {
    hanging = "GetUpdates";
    startPackageKit();
    check();
    runLoopUntil([&] { return !packageKit->calls("GetUpdates").empty(); });
    packageKit->disown();
    awaitText("The update failed.");
    EXPECT_EQ(window()->informativeText(), "The package service has ended.");
    packageKit->own();
    runLoopUntil([&] { return told.back(); });
}

TEST_F(PackageKitUpdatesTest, survivesTheBusStoppingMeanwhile) {
    hanging = "GetUpdates";
    startPackageKit();
    check();
    runLoopUntil([&] { return !packageKit->calls("GetUpdates").empty(); });
    awaitWhatWasSent(); // the answer that accepts the task
    daemon.stop();
    awaitText("The update failed.");
    EXPECT_EQ(window()->informativeText(), "The package service has ended.");
    packageKit.reset();
    daemon.start();
    startPackageKit();
    EXPECT_TRUE(controller->updater().canCheckForUpdates());
}

TEST_F(PackageKitUpdatesTest, stopsWhenTheUserCancels) {
    hanging = "GetUpdates";
    startPackageKit();
    check();
    runLoopUntil([&] { return !packageKit->calls("GetUpdates").empty(); });
    press("Cancel");
    runLoopUntil([&] { return told.back(); });
    EXPECT_EQ(packageKit->calls("Cancel").size(), 1u);
    EXPECT_EQ(window(), nullptr);
}

TEST_F(PackageKitUpdatesTest, runsOneCheckAtATime) {
    startPackageKit();
    check();
    check();
    awaitText("Quoxelin is up to date.");
    EXPECT_EQ(packageKit->calls("CreateTransaction").size(), 3u);
}

} // namespace quoxelin::testing
