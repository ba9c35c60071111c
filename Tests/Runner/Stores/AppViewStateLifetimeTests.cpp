#include "Tests/Support/AppFixture.h"

#include <functional>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

class AppViewStateLifetime : public AppTest {};

/// Destroys the store while `begin`, called on it, is still running, and returns the lines logged
/// afterward.
AppFixture::Lines linesAfterTheStoreHasGone(AppFixture& app,
                                            const std::function<void(AppViewState&)>& begin) {
    begin(*app.appState);
    const std::weak_ptr<AppViewState> gone = app.appState;
    app.appState.reset();
    EXPECT_TRUE(gone.expired());
    app.forget();
    app.advance(seconds(300));
    return app.stateLines();
}

TEST_F(AppViewStateLifetime, hasNoOtherOwner) {
    startAndForget();
    bus(R"({"State":"Running","NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})");
    appState->pollForLoginCompletion();
    appState->switchProfile("b");
    EXPECT_EQ(appState.use_count(), 1);
}

TEST_F(AppViewStateLifetime, dropsABusMessage) {
    HashiBusNotify notify;
    notify.state = HashiBusState::running;
    EXPECT_EQ(linesAfterTheStoreHasGone(
                  *this, [&](AppViewState& store) { store.hashiBusDidReceiveNotify(notify); }),
              Lines{});
}

// A failure here writes to freed memory, which only the address sanitizer detects.
TEST_F(AppViewStateLifetime, dropsTheTunnelsStatus) {
    tunnel->connectionStatus = VPNConnectionStatus::connecting;
    appState.reset();
    tunnel->connectionStatus = VPNConnectionStatus::connected;
    run();
    EXPECT_EQ(stateLines(), Lines{});
}

TEST_F(AppViewStateLifetime, dropsTheAnswerOfEveryRequest) {
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

TEST_F(AppViewStateLifetime, dropsWhatFollowsAnAnswer) {
    // Delays during which the next step of each operation is pending.
    systemExtension->isApproved = true;
    daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    for (const auto* const path : {"/localapi/v0/status", "/localapi/v0/login"})
        daemon.deliveries[path].delay = seconds(0.5);
    refuseTunnelStarts();
    EXPECT_EQ(linesAfterTheStoreHasGone(*this,
                                        [&](AppViewState& store) {
                                            store.pollForLoginCompletion();
                                            advance(seconds(1));
                                            store.switchProfileAndLogin("b");
                                            store.addNewAccount();
                                            store.connect();
                                            run();
                                        }),
              Lines{});
    EXPECT_EQ(requests(), Lines{});
    EXPECT_TRUE(system.workspace.triedURLs().empty());
}

TEST_F(AppViewStateLifetime, dropsTheNextRefreshOfASwitch) {
    daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
    linesAfterTheStoreHasGone(*this, [&](AppViewState& store) {
        store.switchProfile("b");
        advance(seconds(0.5));
        store.refreshProfiles(); // does not name the current profile: the switch has to wait
        advance(seconds(0.6));
        EXPECT_EQ(count("refreshProfiles called"), 2);
    });
    EXPECT_EQ(requests(), Lines{});
}

TEST_F(AppViewStateLifetime, endsTheBusMessagesWithTheStore) {
    startAndForget();
    appState.reset();
    ASSERT_TRUE(daemon.isBusOpen());
    bus(R"({"State":"Running"})");
    advance(seconds(10));
    EXPECT_EQ(stateLines(), Lines{});
}

TEST_F(AppViewStateLifetime, doesNotContinueAnUninstall) {
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

TEST_F(AppViewStateLifetime, endsAnUninstallWhoseConfigurationIsStillBeingRemoved) {
    system.networkExtension.answerDelay = seconds(1);
    run();
    appState->uninstall();
    advance(seconds(0.5));
    EXPECT_EQ(count("disconnect"), 1);
    appState.reset();
    forget();
    advance(seconds(10));
    EXPECT_EQ(stateLines(), Lines{});
    EXPECT_FALSE(system.application.isTerminating());
}

} // namespace
} // namespace quoxelin::testing
