#include "Tests/Support/AppFixture.h"

#include <functional>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

/// Destroys the store while `begin`, called on it, is still running, and returns the lines logged
/// afterward.
Lines linesAfterTheStoreHasGone(AppFixture& app, const std::function<void(AppViewState&)>& begin) {
    begin(*app.appState);
    const std::weak_ptr<AppViewState> gone = app.appState;
    app.appState.reset();
    EXPECT_TRUE(gone.expired());
    app.forget();
    app.advance(seconds(300));
    return app.stateLines();
}

TEST(AppViewStateLifetime, hasNoOtherOwner) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"State":"Running","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    app.appState->pollForLoginCompletion();
    app.appState->switchProfile("b");
    EXPECT_EQ(app.appState.use_count(), 1);
}

TEST(AppViewStateLifetime, dropsABusMessage) {
    AppFixture app;
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    EXPECT_EQ(linesAfterTheStoreHasGone(
                  app, [&](AppViewState& store) { store.hashiBusDidReceiveNotify(notify); }),
              Lines{});
}

// A failure here writes to freed memory, which only the address sanitizer detects.
TEST(AppViewStateLifetime, dropsTheTunnelsStatus) {
    AppFixture app;
    app.tunnel->connectionStatus = VPNConnectionStatus::connecting;
    app.appState.reset();
    app.tunnel->connectionStatus = VPNConnectionStatus::connected;
    app.run();
    EXPECT_EQ(app.stateLines(), Lines{});
}

TEST(AppViewStateLifetime, dropsTheAnswerOfEveryRequest) {
    const std::vector<std::function<void(AppViewState&)>> requests = {
        [](AppViewState& store) { store.refreshProfiles(); },
        [](AppViewState& store) { store.switchProfile("b"); },
        [](AppViewState& store) { store.switchProfileAndLogin("b"); },
        [](AppViewState& store) { store.addNewAccount(); },
        [](AppViewState& store) { store.connect(); },
        [](AppViewState& store) { store.disconnect(); },
        [](AppViewState& store) { store.logout(); },
        [](AppViewState& store) { store.pollForLoginCompletion(); },
    };
    for (const auto& request : requests) {
        AppFixture app;
        app.systemExtension->isApproved = true;
        EXPECT_EQ(linesAfterTheStoreHasGone(app, request), Lines{});
        EXPECT_EQ(app.tunnelCommands(), Lines{});
        EXPECT_TRUE(app.system.workspace.triedURLs().empty());
    }
}

TEST(AppViewStateLifetime, dropsWhatFollowsAnAnswer) {
    // Delays during which the next step of each operation is pending.
    AppFixture app;
    app.systemExtension->isApproved = true;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    for (const auto* const path : {"/localapi/v0/status", "/localapi/v0/login"})
        app.daemon.deliveries[path].delay = seconds(0.5);
    app.system.networkExtension.tunnels.startError = Error{NEVPNErrorDomain, 3, "No way."};
    EXPECT_EQ(linesAfterTheStoreHasGone(app,
                                        [&](AppViewState& store) {
                                            store.pollForLoginCompletion();
                                            app.advance(seconds(1));
                                            store.switchProfileAndLogin("b");
                                            store.addNewAccount();
                                            store.connect();
                                            app.run();
                                        }),
              Lines{});
    EXPECT_EQ(app.requests(), Lines{});
    EXPECT_TRUE(app.system.workspace.triedURLs().empty());
}

TEST(AppViewStateLifetime, dropsTheNextRefreshOfASwitch) {
    AppFixture app;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    app.daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
    linesAfterTheStoreHasGone(app, [&](AppViewState& store) {
        store.switchProfile("b");
        app.advance(seconds(0.5));
        store.refreshProfiles(); // does not name the current profile: the switch has to wait
        app.advance(seconds(0.6));
        EXPECT_EQ(app.count("refreshProfiles called"), 2);
    });
    EXPECT_EQ(app.requests(), Lines{});
}

TEST(AppViewStateLifetime, endsTheBusMessagesWithTheStore) {
    AppFixture app;
    app.startAndForget();
    app.appState.reset();
    ASSERT_TRUE(app.daemon.isBusOpen());
    app.bus(R"({"State":"Running"})");
    app.advance(seconds(10));
    EXPECT_EQ(app.stateLines(), Lines{});
}

TEST(AppViewStateLifetime, doesNotContinueAnUninstall) {
    for (const bool succeeds : {true, false}) {
        AppFixture app;
        app.run();
        if (!succeeds)
            app.system.appleScript.setOutcome("canceled");
        app.system.appleScript.waitForPassword();
        app.appState->uninstall();
        app.run();
        app.appState.reset();
        app.forget();
        app.system.appleScript.givePassword();
        app.advance(seconds(10));
        EXPECT_EQ(app.system.appleScript.executedSources().size(), 1u);
        EXPECT_EQ(app.stateLines(), Lines{});
        EXPECT_EQ(app.dispatch.unfinishedBackgroundWork(), 0u);
        EXPECT_FALSE(app.system.application.isTerminating());
    }
}

TEST(AppViewStateLifetime, endsAnUninstallWhoseConfigurationIsStillBeingRemoved) {
    AppFixture app;
    app.system.networkExtension.answerDelay = seconds(1);
    app.run();
    app.appState->uninstall();
    app.advance(seconds(0.5));
    EXPECT_EQ(app.count("disconnect"), 1);
    app.appState.reset();
    app.forget();
    app.advance(seconds(10));
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_FALSE(app.system.application.isTerminating());
}

} // namespace
} // namespace quoxelin::testing
