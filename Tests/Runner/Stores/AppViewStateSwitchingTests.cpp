#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

std::string switchTo(const std::string& id) {
    return "POST /localapi/v0/profiles/switch?id=" + id;
}

// Switching

/// The daemon has the profiles a and b, of which a is current.
class AppViewStateSwitching : public AppTest {
  protected:
    AppViewStateSwitching() {
        sim::Account a, b;
        a.id = "a";
        b.id = "b";
        daemon.model.setAccounts({a, b}, "a");
        appState->refreshProfiles();
        run();
        forget();
    }

    std::string current() const {
        std::string ids;
        for (const auto& profile : appState->profiles.get())
            ids += profile.isCurrent ? profile.id : "";
        return ids + "/" + appState->currentProfileId.get();
    }
};

TEST_F(AppViewStateSwitching, showsASwitchAtOnceAndRefreshesOnce) {
    appState->switchProfile("b");
    EXPECT_EQ(current(), "b/b");
    advance(seconds(10));
    EXPECT_EQ(current(), "b/b");
    EXPECT_EQ(timedRequests(), (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles}));
    EXPECT_EQ(stateLines(), (Lines{"switchProfile to b", "Profile switch successful",
                                   "refreshProfiles called", "Got 2 profiles"}));
}

TEST_F(AppViewStateSwitching, keepsEverythingElseInTheProfilesWhenSwitching) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true},)"
                       R"({"id":"b","name":"B","is_current":false,"user_email":"b@example.com",)"
                       R"("node_id":3}]})");
    app.appState->refreshProfiles();
    app.run();
    app.appState->switchProfile("b");
    EXPECT_EQ(app.appState->profiles.get()[0], (ProfileInfo{"a", "A", {}, {}, false}));
    EXPECT_EQ(app.appState->profiles.get()[1], (ProfileInfo{"b", "B", 3, "b@example.com", true}));
}

TEST_F(AppViewStateSwitching, leavesTheJailOfTheProfileItSwitchesFrom) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true})");
    app.appState->switchProfile("b");
    EXPECT_EQ(app.appState->login->jailedReason, std::nullopt);
}

TEST_F(AppViewStateSwitching, switchesToAProfileThatIsNotListed) {
    appState->switchProfile("x y");
    EXPECT_EQ(current(), "/x y");
    run();
    EXPECT_EQ(requests().front(), switchTo("x%20y"));
}

TEST_F(AppViewStateSwitching, switchesToAnIdThatLivesInTheListItself) {
    appState->switchProfile(appState->profiles.get()[1].id);
    EXPECT_EQ(current(), "b/b");
    run();
    EXPECT_EQ(requests().front(), switchTo("b"));
}

TEST_F(AppViewStateSwitching, goesBackWhenASwitchFails) {
    daemon.answer("POST", "/localapi/v0/profiles/switch",
                  SimulatedDaemon::status(404, "no such profile"));
    appState->switchProfile("b");
    advance(seconds(10));
    EXPECT_EQ(current(), "a/a");
    EXPECT_EQ(stateLines(), (Lines{"switchProfile to b",
                                   "Failed to switch profile: HTTP error 404: no such profile",
                                   "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(timedRequests(), (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles}));
}

TEST_F(AppViewStateSwitching, refreshesUpToTenTimesUntilTheDaemonHasSwitched) {
    for (const auto action : {&AppViewState::switchProfile, &AppViewState::switchProfileAndLogin}) {
        AppFixture app;
        // The daemon accepts the switch but still names the old profile.
        app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
        app.daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
        app.answerProfiles(R"({"current_profile_id":"a","profiles":[]})");
        ((*app.appState).*action)("b");
        app.advance(seconds(0.5));
        app.appState->refreshProfiles();
        app.advance(seconds(0.4));
        EXPECT_EQ(app.appState->currentProfileId.get(), "a");
        app.forget();
        app.advance(seconds(100));
        Lines expected;
        for (int i = 0; i < 10; ++i)
            expected.push_back(fmt::format("{:.3f} {}", 1 + 0.3 * i, getProfiles));
        auto refreshes = app.timedRequests();
        std::erase(refreshes, "1.000 " + login);
        EXPECT_EQ(refreshes, expected);
    }
}

TEST_F(AppViewStateSwitching, publishesTheProfilesBeforeTheIdOfTheCurrentOne) {
    Lines seen;
    const auto subscription = appState->currentProfileId.subscribe(
        [&](const std::string& id) { seen.push_back(current().substr(0, 1) + " for " + id); });
    appState->switchProfile("b");
    EXPECT_EQ(seen.back(), "b for b");
    run();
    daemon.model.switchProfile("a");
    appState->refreshProfiles();
    run();
    EXPECT_EQ(seen.back(), "a for a");
}

TEST_F(AppViewStateSwitching, stopsRefreshingOnceTheDaemonHasSwitched) {
    daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
    appState->switchProfile("b");
    advance(seconds(0.5));
    appState->refreshProfiles();
    advance(seconds(1)); // refreshes at 1.0 and 1.3
    daemon.model.switchProfile("b");
    forget();
    advance(seconds(100));
    // The refresh at 1.6 brings the new profile; the one at 1.9 is sent before it is noticed, and
    // is the last.
    EXPECT_EQ(timedRequests(), (Lines{"1.600 " + getProfiles, "1.900 " + getProfiles}));
    EXPECT_EQ(current(), "b/b");
}

TEST_F(AppViewStateSwitching, opensTheLoginPageOfTheProfileItSwitchesTo) {
    daemon.answer(
        "POST", "/localapi/v0/login",
        SimulatedDaemon::ok(R"({"interactive_login_url":"https://login.example.com/b"})"));
    appState->switchProfileAndLogin("b");
    EXPECT_EQ(current(), "b/b");
    advance(seconds(10));
    EXPECT_EQ(timedRequests(),
              (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles, "0.000 " + login}));
    EXPECT_EQ(stateLines(),
              (Lines{"switchProfileAndLogin to b", "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(system.workspace.openedURLs(), Lines{"https://login.example.com/b"});
}

TEST_F(AppViewStateSwitching, logsWhyTheSwitchedProfileHasNoLoginPage) {
    daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::ok("{}"));
    appState->switchProfileAndLogin("b");
    run();
    EXPECT_EQ(count("startLogin after switch failed: Failed to decode LocalAPI JSON response"), 1);
    EXPECT_EQ(system.workspace.triedURLs(), Lines{});
}

TEST_F(AppViewStateSwitching, asksForNoLoginPageWhenTheSwitchFails) {
    daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::status(503, "busy"));
    appState->switchProfileAndLogin("b");
    advance(seconds(10));
    EXPECT_EQ(current(), "a/a");
    EXPECT_EQ(stateLines(), (Lines{"switchProfileAndLogin to b",
                                   "switchProfileAndLogin failed: HTTP error 503: busy",
                                   "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(requests(), (Lines{switchTo("b"), getProfiles}));
}

TEST_F(AppViewStateSwitching, opensNoLoginPageOutsideTheWeb) {
    const std::vector<std::pair<std::string, std::string>> pages = {
        {"b", "not a url"}, {"a", "file:///bin/sh"}, {"b", "settings:a"}};
    for (const auto& [profile, url] : pages) {
        forget();
        daemon.answer("POST", "/localapi/v0/login",
                      SimulatedDaemon::ok(fmt::format(R"({{"interactive_login_url":"{}"}})", url)));
        appState->switchProfileAndLogin(profile);
        appState->addNewAccount();
        run();
        EXPECT_EQ(system.workspace.triedURLs(), Lines{});
        EXPECT_EQ(count("Got login URL for new account"), 1);
    }
}

// Adding

TEST_F(AppViewStateSwitching, opensALoginPageForANewAccount) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::ok(R"({"InteractiveLoginUrl":"https://login.example.com/n"})"));
    whenLogged("[State] Got login URL", [&] { EXPECT_EQ(system.workspace.openedURLs(), Lines{}); });
    appState->addNewAccount();
    advance(seconds(10));
    EXPECT_EQ(timedRequests(),
              (Lines{"0.000 POST /localapi/v0/profiles/switch-to-empty", "0.000 " + login}));
    EXPECT_EQ(stateLines(),
              (Lines{"addNewAccount called", "Switched to empty profile, starting login flow",
                     "Got login URL for new account"}));
    EXPECT_EQ(system.workspace.openedURLs(), Lines{"https://login.example.com/n"});
    EXPECT_EQ(current(), "a/a");
}

TEST_F(AppViewStateSwitching, startsNoLoginWithoutAnEmptyProfile) {
    daemon.answer("POST", "/localapi/v0/profiles/switch-to-empty",
                  SimulatedDaemon::status(503, "busy"));
    appState->addNewAccount();
    advance(seconds(10));
    EXPECT_EQ(stateLines(), (Lines{"addNewAccount called",
                                   "Failed to switch to empty profile: HTTP error 503: busy"}));
    EXPECT_EQ(requests(), Lines{"POST /localapi/v0/profiles/switch-to-empty"});
}

TEST_F(AppViewStateSwitching, logsWhyANewAccountHasNoLoginPage) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::ok(R"({"interactive_login_url":""})"));
    appState->addNewAccount();
    run();
    EXPECT_EQ(stateLines().back(),
              "Failed to get login URL: Failed to decode LocalAPI JSON response");
}

} // namespace
} // namespace quoxelin::testing
