#include "Tests/Support/AppFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr const char* canceledByTheUser =
    R"({ NSAppleScriptErrorMessage = "User canceled."; NSAppleScriptErrorNumber = -128; })";

/// A connected application with traces of earlier use.
struct Installed : AppFixture {
    Installed() {
        systemExtension->isApproved = true;
        system.networkExtension.addConfiguration(
            SimulatedNetworkExtension::ofTunnel("com.quoxelin.desktop.PacketTunnel", "Quoxelin"));
        system.userDefaults.set("loginItemRegisteredBuild", "1");
        system.userDefaults.setBool("loginItemRegistered", true);
        EXPECT_TRUE(system.serviceManagement.mainAppRegistration().registerService());
        startAndForget();
        bus(R"({"State":"Running","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
        advance(seconds(10));
        forget();
    }

    fs::path supportFolder() const {
        return system.fileManager.applicationSupport.front() / "Quoxelin";
    }

    bool isConnected() const { return appState->vpn->status == VPNConnectionStatus::connected; }
};

TEST(AppViewStateUninstall, runsTheWholeCleanupAsOneScript) {
    Installed app;
    app.appState->uninstall();
    app.run();
    EXPECT_EQ(
        app.system.appleScript.executedSources(),
        Lines{"do shell script \""
              "killall quoxelind 2>/dev/null || true; "
              "pkill -f com.quoxelin.desktop.Helper 2>/dev/null || true; "
              "pkill -f com.quoxelin.desktop.PacketTunnel 2>/dev/null || true; "
              "launchctl bootout system/com.quoxelin.desktop.Helper 2>/dev/null || true; "
              "launchctl bootout system/com.quoxelin.desktop.develop.debug.Helper 2>/dev/null || "
              "true; "
              "rm -rf /Library/quoxelin; "
              "rm -rf /etc/quoxelin; "
              "rm -rf /var/log/quoxelind; "
              "rm -f /var/run/quoxelind.socket; "
              "rm -f /tmp/quoxelind.log; "
              "rm -f /Library/LaunchDaemons/com.quoxelin.desktop.helper.plist; "
              "rm -f /Library/LaunchDaemons/com.quoxelin.desktop.develop.debug.helper.plist; "
              "networksetup -removeNetworkService Quoxelin 2>/dev/null || true; "
              "networksetup -removeNetworkService 'Quoxelin Debug' 2>/dev/null || true"
              "\" with administrator privileges"});
}

TEST(AppViewStateUninstall, runsTheScriptInTheBackgroundAtTheUsersInitiative) {
    Installed app;
    const auto before = app.dispatch.submittedQualities().size();
    app.appState->uninstall();
    ASSERT_EQ(app.dispatch.submittedQualities().size(), before + 1);
    EXPECT_EQ(app.dispatch.submittedQualities().back(), QualityOfService::userInitiated);
    EXPECT_TRUE(app.system.appleScript.executedSources().empty());
}

TEST(AppViewStateUninstall, removesEverythingInOrderAndQuits) {
    Installed app;
    app.appState->uninstall();
    app.advance(seconds(1));
    EXPECT_EQ(app.stateLines(), (Lines{"uninstall called", "Privileged cleanup completed",
                                       "disconnect", "daemon WantRunning=false",
                                       "Uninstall completed", "HashiBus disconnected: nil"}));
    EXPECT_EQ(app.requests(), Lines{app.wantRunningRequest(false)});
    EXPECT_EQ(app.tunnelCommands(), Lines{"10.000 stop"});
    const auto& asked = app.system.networkExtension.requests;
    EXPECT_EQ(std::count(asked.begin(), asked.end(), "remove"), 1);
    EXPECT_TRUE(app.system.networkExtension.configurations().empty());
    EXPECT_EQ(app.system.serviceManagement.mainAppRegistration().unregistrations(), 1);
    EXPECT_EQ(app.system.userDefaults.removals(),
              (Lines{"loginItemRegisteredBuild", "loginItemRegistered"}));
    EXPECT_FALSE(fs::exists(app.supportFolder()));
    EXPECT_TRUE(fs::exists(app.supportFolder().parent_path()));
    EXPECT_TRUE(app.system.application.isTerminating() || app.system.application.hasTerminated());
}

TEST(AppViewStateUninstall, stopsFollowingTheDaemon) {
    Installed app;
    app.appState->uninstall();
    app.run();
    EXPECT_FALSE(app.daemon.isBusOpen());
    EXPECT_EQ(app.dispatch.unfinishedBackgroundWork(), 0u);
    const auto streams = app.daemon.busConnections();
    app.advance(seconds(60));
    EXPECT_EQ(app.daemon.busConnections(), streams);
    EXPECT_EQ(app.lines("HashiBus"), Lines{"EOF"});
}

TEST(AppViewStateUninstall, stopsFollowingTheDaemonEvenBetweenTwoAttempts) {
    Installed app;
    app.daemon.closeBus();
    app.advance(seconds(1));
    app.appState->uninstall();
    app.advance(seconds(60));
    EXPECT_EQ(app.daemon.busConnections(), 1u);
    EXPECT_EQ(app.dispatch.unfinishedBackgroundWork(), 0u);
}

TEST(AppViewStateUninstall, cancelsThePendingCheckOfTheTunnel) {
    Installed app;
    app.system.networkExtension.tunnels.startError = Error{NEVPNErrorDomain, 3, "No way."};
    app.system.networkExtension.tunnel().drop();
    app.appState->connect();
    app.advance(seconds(1));
    app.appState->uninstall();
    app.advance(seconds(60));
    EXPECT_EQ(app.count("VPN connection retry 1/3"), 0);
    EXPECT_EQ(app.count("Uninstall completed"), 1);
}

TEST(AppViewStateUninstall, changesNothingWhenTheUserCancels) {
    Installed app;
    app.system.appleScript.waitForPassword();
    app.appState->uninstall();
    app.advance(seconds(30));
    EXPECT_TRUE(app.system.appleScript.isAskingForPassword());
    EXPECT_TRUE(app.isConnected());
    EXPECT_EQ(app.stateLines(), Lines{"uninstall called"});

    app.system.appleScript.cancelPassword();
    app.advance(seconds(30));
    EXPECT_EQ(
        app.stateLines(),
        (Lines{"uninstall called", std::string("Privileged cleanup error: ") + canceledByTheUser,
               "Uninstall cancelled or failed, no changes made"}));
    EXPECT_TRUE(app.isConnected());
    EXPECT_EQ(app.requests(), Lines{});
    EXPECT_EQ(app.tunnelCommands(), Lines{});
    EXPECT_TRUE(app.daemon.isBusOpen());
    EXPECT_EQ(app.system.userDefaults.removals(), Lines{});
    EXPECT_TRUE(fs::exists(app.supportFolder() / "app.log"));
    EXPECT_FALSE(app.system.application.isTerminating());
}

TEST(AppViewStateUninstall, changesNothingWhenTheScriptFails) {
    Installed app;
    app.system.appleScript.setOutcome("the command exited with 1");
    app.appState->uninstall();
    app.run();
    EXPECT_EQ(app.stateLines(),
              (Lines{"uninstall called", "Privileged cleanup error: the command exited with 1",
                     "Uninstall cancelled or failed, no changes made"}));
    EXPECT_TRUE(app.isConnected());
    EXPECT_FALSE(app.system.application.isTerminating());
}

TEST(AppViewStateUninstall, continuesWhenNoScriptCanBeMade) {
    Installed app;
    app.system.appleScript.refuseSources(true);
    app.appState->uninstall();
    app.run();
    EXPECT_TRUE(app.system.appleScript.executedSources().empty());
    EXPECT_EQ(app.count("Privileged cleanup completed"), 1);
    EXPECT_EQ(app.count("Uninstall completed"), 1);
}

TEST(AppViewStateUninstall, canBeTriedAgainAfterItWasCanceled) {
    Installed app;
    app.system.appleScript.setOutcome("canceled");
    app.appState->uninstall();
    app.run();
    app.system.appleScript.setOutcome(std::nullopt);
    app.appState->uninstall();
    app.run();
    EXPECT_EQ(app.count("Uninstall completed"), 1);
}

TEST(AppViewStateUninstall, quitsAlthoughTheSupportFolderIsMissing) {
    Installed app;
    fs::remove_all(app.supportFolder());
    app.appState->uninstall();
    app.run();
    EXPECT_EQ(app.count("Uninstall completed"), 1);
    EXPECT_TRUE(app.system.application.isTerminating() || app.system.application.hasTerminated());
}

TEST(AppViewStateUninstall, removesNoFolderWithoutASupportDirectory) {
    Installed app;
    const auto folder = app.supportFolder();
    app.system.fileManager.applicationSupport.clear();
    app.appState->uninstall();
    app.run();
    EXPECT_TRUE(fs::exists(folder));
    EXPECT_EQ(app.count("Uninstall completed"), 1);
}

TEST(AppViewStateUninstall, removesFromTheFirstSupportDirectoryOnly) {
    Installed app;
    const auto second = app.directory.path() / "second";
    fs::create_directories(second / "Quoxelin");
    app.system.fileManager.applicationSupport.push_back(second);
    app.appState->uninstall();
    app.run();
    EXPECT_FALSE(fs::exists(app.supportFolder()));
    EXPECT_TRUE(fs::exists(second / "Quoxelin"));
}

TEST(AppViewStateUninstall, removesALinkAndNotWhatItPointsTo) {
    Installed app;
    const auto elsewhere = app.directory.path() / "elsewhere";
    fs::create_directories(elsewhere);
    std::ofstream(elsewhere / "precious") << "keep";
    fs::create_directory_symlink(elsewhere, app.supportFolder() / "link");
    app.appState->uninstall();
    app.run();
    EXPECT_FALSE(fs::exists(app.supportFolder()));
    EXPECT_TRUE(fs::exists(elsewhere / "precious"));
}

TEST(AppViewStateUninstall, continuesWhateverFailsOfConfigurationDaemonAndLoginItem) {
    Installed app;
    app.daemon.refuseConnections();
    app.system.networkExtension.errors[SimulatedNetworkExtension::Operation::remove] = {
        NEVPNErrorDomain, 5, "Cannot write."};
    app.system.serviceManagement.mainAppRegistration().failUnregistration(
        Error{"SMAppServiceErrorDomain", 1, "Operation not permitted"});
    app.appState->uninstall();
    app.run();
    EXPECT_EQ(app.count("Uninstall completed"), 1);
    EXPECT_EQ(app.system.userDefaults.removals(),
              (Lines{"loginItemRegisteredBuild", "loginItemRegistered"}));
}

} // namespace
} // namespace quoxelin::testing
