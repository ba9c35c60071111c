#include "Tests/Support/AppFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

namespace fs = std::filesystem;
constexpr const char* canceledByTheUser =
    R"({ NSAppleScriptErrorMessage = "User canceled."; NSAppleScriptErrorNumber = -128; })";

/// A connected application with traces of earlier use.
class AppViewStateUninstall : public AppTest {
  protected:
    AppViewStateUninstall() {
        systemExtension->isApproved = true;
        addTunnelConfiguration();
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

TEST_F(AppViewStateUninstall, runsTheWholeCleanupAsOneScript) {
    appState->uninstall();
    run();
    EXPECT_EQ(
        system.appleScript.executedSources(),
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

TEST_F(AppViewStateUninstall, runsTheScriptInTheBackground) {
    const auto before = dispatch.submittedQualities().size();
    appState->uninstall();
    ASSERT_EQ(dispatch.submittedQualities().size(), before + 1);
    EXPECT_EQ(dispatch.submittedQualities().back(), QualityOfService::userInitiated);
    EXPECT_TRUE(system.appleScript.executedSources().empty());
}

TEST_F(AppViewStateUninstall, removesEverythingInOrderAndQuits) {
    appState->uninstall();
    advance(seconds(1));
    EXPECT_EQ(stateLines(), (Lines{"uninstall called", "Privileged cleanup completed", "disconnect",
                                   "daemon WantRunning=false", "Uninstall completed",
                                   "HashiBus disconnected: nil"}));
    EXPECT_EQ(requests(), Lines{wantRunningRequest(false)});
    EXPECT_EQ(tunnelCommands(), Lines{"10.000 stop"});
    const auto& asked = system.networkExtension.requests;
    EXPECT_EQ(std::count(asked.begin(), asked.end(), "remove"), 1);
    EXPECT_TRUE(system.networkExtension.configurations().empty());
    EXPECT_EQ(system.serviceManagement.mainAppRegistration().unregistrations(), 1);
    EXPECT_EQ(system.userDefaults.removals(),
              (Lines{"loginItemRegisteredBuild", "loginItemRegistered"}));
    EXPECT_FALSE(fs::exists(supportFolder()));
    EXPECT_TRUE(fs::exists(supportFolder().parent_path()));
    EXPECT_TRUE(system.application.isTerminating() || system.application.hasTerminated());
}

TEST_F(AppViewStateUninstall, removesTheLoginItemThenTheConfigurationThenTheFolder) {
    Lines order;
    system.serviceManagement.mainAppRegistration().onChange = [&](SMAppServiceStatus) {
        order.push_back("login item");
    };
    system.networkExtension.onRequest = [&](const std::string& request) {
        order.push_back(request);
    };
    whenLogged("[State] Uninstall completed", [&] {
        order.push_back(fs::exists(supportFolder()) ? "too early" : "completed");
        if (system.application.isTerminating())
            order.push_back("too late");
    });
    system.networkExtension.answerDelay = seconds(1);
    appState->uninstall();
    advance(seconds(1.5));
    EXPECT_EQ(order, (Lines{"stop", "login item", "loadAll", "remove"}));
    EXPECT_TRUE(fs::exists(supportFolder()));
    advance(seconds(1));
    EXPECT_FALSE(fs::exists(supportFolder()));
    EXPECT_EQ(order.back(), "completed");
}

TEST_F(AppViewStateUninstall, isTheOnlyOneInProgress) {
    system.appleScript.waitForPassword();
    appState->uninstall();
    advance(seconds(1));
    appState->uninstall();
    advance(seconds(1));
    EXPECT_EQ(system.appleScript.executedSources().size(), 1u);
    EXPECT_EQ(count("Uninstall already in progress, skipping"), 1);
    system.appleScript.givePassword();
    advance(seconds(1));
    EXPECT_EQ(count("Uninstall completed"), 1);
}

TEST(AppViewStateEarlyUninstall, connectsToNothingDuringTheRemoval) {
    AppFixture app;
    app.systemExtension->isApproved = true;
    app.addTunnelConfiguration();
    app.startAndForget();
    app.answerStatus(R"({"BackendState":"Running"})");
    app.appState->pollForLoginCompletion();
    app.system.networkExtension.answerDelay = seconds(3);
    app.appState->uninstall();
    app.run();
    // The daemon's messages and the user's clicks come too late.
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    notify.netMap.emplace();
    app.appState->hashiBusDidReceiveNotify(notify);
    app.appState->connect();
    app.advance(seconds(60));
    EXPECT_EQ(app.count("connect"), 0);
    EXPECT_EQ(app.countRequests("GET /localapi/v0/status"), 0);
    EXPECT_TRUE(app.system.networkExtension.configurations().empty());
}

TEST_F(AppViewStateUninstall, ignoresWhatTheDaemonStillSaysDuringTheRemoval) {
    system.networkExtension.answerDelay = seconds(3);
    appState->uninstall();
    run();
    forget();
    HashiBusNotify notify;
    notify.state = HashiBusState::needsLogin;
    notify.jailed = true;
    appState->hashiBusDidReceiveNotify(notify);
    run();
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_EQ(requests(), Lines{});
    EXPECT_TRUE(appState->login->isLoggedIn);
}

TEST(AppViewStateEarlyUninstall, leavesNoConfigurationOfTheFirstConnection) {
    for (const double instant : {0.0, 0.1, 0.3, 0.6, 1.0}) {
        AppFixture app;
        app.systemExtension->isApproved = true;
        app.run();
        app.system.networkExtension.answerDelay = seconds(0.25);
        app.appState->connect();
        app.advance(seconds(instant));
        app.appState->uninstall();
        app.advance(seconds(60));
        EXPECT_TRUE(app.system.networkExtension.configurations().empty()) << instant;
        EXPECT_EQ(app.count("Uninstall completed"), 1) << instant;
    }
}

TEST_F(AppViewStateUninstall, stopsFollowingTheDaemon) {
    appState->uninstall();
    run();
    EXPECT_FALSE(daemon.isBusOpen());
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
    const auto streams = daemon.busConnections();
    advance(seconds(60));
    EXPECT_EQ(daemon.busConnections(), streams);
    EXPECT_EQ(lines("HashiBus"), Lines{"EOF"});
}

TEST_F(AppViewStateUninstall, stopsFollowingTheDaemonEvenBetweenTwoAttempts) {
    daemon.closeBus();
    advance(seconds(1));
    appState->uninstall();
    advance(seconds(60));
    EXPECT_EQ(daemon.busConnections(), 1u);
    EXPECT_EQ(dispatch.unfinishedBackgroundWork(), 0u);
}

TEST_F(AppViewStateUninstall, cancelsThePendingCheckOfTheTunnel) {
    refuseTunnelStarts();
    system.networkExtension.tunnel().drop();
    appState->connect();
    advance(seconds(1));
    appState->uninstall();
    advance(seconds(60));
    EXPECT_EQ(count("VPN connection retry 1/3"), 0);
    EXPECT_EQ(count("Uninstall completed"), 1);
}

TEST_F(AppViewStateUninstall, changesNothingWhenTheUserCancels) {
    system.appleScript.waitForPassword();
    appState->uninstall();
    advance(seconds(30));
    EXPECT_TRUE(system.appleScript.isAskingForPassword());
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(stateLines(), Lines{"uninstall called"});

    system.appleScript.cancelPassword();
    advance(seconds(30));
    EXPECT_EQ(stateLines(), (Lines{"uninstall called",
                                   std::string("Privileged cleanup error: ") + canceledByTheUser,
                                   "Uninstall cancelled or failed, no changes made"}));
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(requests(), Lines{});
    EXPECT_EQ(tunnelCommands(), Lines{});
    EXPECT_TRUE(daemon.isBusOpen());
    EXPECT_EQ(system.userDefaults.removals(), Lines{});
    EXPECT_TRUE(fs::exists(supportFolder() / "app.log"));
    EXPECT_FALSE(system.application.isTerminating());
}

TEST_F(AppViewStateUninstall, changesNothingWhenTheScriptFails) {
    system.appleScript.setOutcome("the command exited with 1");
    appState->uninstall();
    run();
    EXPECT_EQ(stateLines(),
              (Lines{"uninstall called", "Privileged cleanup error: the command exited with 1",
                     "Uninstall cancelled or failed, no changes made"}));
    EXPECT_TRUE(isConnected());
    EXPECT_FALSE(system.application.isTerminating());
}

TEST_F(AppViewStateUninstall, continuesWhenNoScriptCanBeMade) {
    system.appleScript.refuseSources(true);
    appState->uninstall();
    run();
    EXPECT_TRUE(system.appleScript.executedSources().empty());
    EXPECT_EQ(count("Privileged cleanup completed"), 1);
    EXPECT_EQ(count("Uninstall completed"), 1);
}

TEST_F(AppViewStateUninstall, canBeTriedAgainAfterItWasCanceled) {
    system.appleScript.setOutcome("canceled");
    appState->uninstall();
    run();
    system.appleScript.setOutcome(std::nullopt);
    appState->uninstall();
    run();
    EXPECT_EQ(count("Uninstall completed"), 1);
}

TEST_F(AppViewStateUninstall, quitsAlthoughTheSupportFolderIsMissing) {
    fs::remove_all(supportFolder());
    appState->uninstall();
    run();
    EXPECT_EQ(count("Uninstall completed"), 1);
    EXPECT_TRUE(system.application.isTerminating() || system.application.hasTerminated());
}

TEST_F(AppViewStateUninstall, removesNoFolderWithoutASupportDirectory) {
    const auto folder = supportFolder();
    system.fileManager.applicationSupport.clear();
    appState->uninstall();
    run();
    EXPECT_TRUE(fs::exists(folder));
    EXPECT_EQ(count("Uninstall completed"), 1);
}

TEST_F(AppViewStateUninstall, removesFromTheFirstSupportDirectoryOnly) {
    const auto second = directory.path() / "second";
    fs::create_directories(second / "Quoxelin");
    system.fileManager.applicationSupport.push_back(second);
    appState->uninstall();
    run();
    EXPECT_FALSE(fs::exists(supportFolder()));
    EXPECT_TRUE(fs::exists(second / "Quoxelin"));
}

TEST_F(AppViewStateUninstall, removesALinkAndNotWhatItPointsTo) {
    const auto elsewhere = directory.path() / "elsewhere";
    fs::create_directories(elsewhere);
    std::ofstream(elsewhere / "precious") << "keep";
    fs::create_directory_symlink(elsewhere, supportFolder() / "link");
    appState->uninstall();
    run();
    EXPECT_FALSE(fs::exists(supportFolder()));
    EXPECT_TRUE(fs::exists(elsewhere / "precious"));
}

TEST_F(AppViewStateUninstall, writesTheWaitingLinesOfTheLogBeforeItRemovesTheFolder) {
    // Behind a link, the log can still be read afterward.
    const auto elsewhere = directory.path() / "elsewhere";
    fs::rename(supportFolder(), elsewhere);
    fs::create_directory_symlink(elsewhere, supportFolder());
    appState->uninstall();
    run();
    EXPECT_FALSE(fs::is_symlink(supportFolder()));
    EXPECT_NE(contentsOf(elsewhere / "app.log").find("Removed 1 VPN configuration(s)"),
              std::string::npos);
}

TEST_F(AppViewStateUninstall, continuesWhateverFailsOfConfigurationDaemonAndLoginItem) {
    daemon.refuseConnections();
    system.networkExtension.errors[SimulatedNetworkExtension::Operation::remove] = {
        NEVPNErrorDomain, 5, "Cannot write."};
    system.serviceManagement.mainAppRegistration().failUnregistration(
        Error{"SMAppServiceErrorDomain", 1, "Operation not permitted"});
    appState->uninstall();
    run();
    EXPECT_EQ(count("Uninstall completed"), 1);
    EXPECT_EQ(system.userDefaults.removals(),
              (Lines{"loginItemRegisteredBuild", "loginItemRegistered"}));
}

} // namespace
} // namespace quoxelin::testing
