#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

std::string switchTo(const std::string& id) {
    return "POST /localapi/v0/profiles/switch?id=" + id;
}

// Switching

/// The daemon has the profiles a and b, of which a is current.
struct WithProfiles : AppFixture {
    WithProfiles() {
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

TEST(AppViewStateSwitching, showsASwitchAtOnceAndRefreshesOnce) {
    WithProfiles app;
    app.appState->switchProfile("b");
    EXPECT_EQ(app.current(), "b/b");
    app.advance(seconds(10));
    EXPECT_EQ(app.current(), "b/b");
    EXPECT_EQ(app.timedRequests(), (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles}));
    EXPECT_EQ(app.stateLines(), (Lines{"switchProfile to b", "Profile switch successful",
                                       "refreshProfiles called", "Got 2 profiles"}));
}

TEST(AppViewStateSwitching, keepsEverythingElseInTheProfilesWhenSwitching) {
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

TEST(AppViewStateSwitching, leavesTheJailOfTheProfileItSwitchesFrom) {
    AppFixture app;
    app.startAndForget();
    app.bus(R"({"Jailed":true})");
    app.appState->switchProfile("b");
    EXPECT_EQ(app.appState->login->jailedReason, std::nullopt);
}

TEST(AppViewStateSwitching, switchesToAProfileThatIsNotListed) {
    WithProfiles app;
    app.appState->switchProfile("x y");
    EXPECT_EQ(app.current(), "/x y");
    app.run();
    EXPECT_EQ(app.requests().front(), switchTo("x%20y"));
}

TEST(AppViewStateSwitching, switchesToAnIdThatLivesInTheListItself) {
    WithProfiles app;
    app.appState->switchProfile(app.appState->profiles.get()[1].id);
    EXPECT_EQ(app.current(), "b/b");
    app.run();
    EXPECT_EQ(app.requests().front(), switchTo("b"));
}

TEST(AppViewStateSwitching, goesBackWhenASwitchFails) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch",
                      SimulatedDaemon::status(404, "no such profile"));
    app.appState->switchProfile("b");
    app.advance(seconds(10));
    EXPECT_EQ(app.current(), "a/a");
    EXPECT_EQ(app.stateLines(), (Lines{"switchProfile to b",
                                       "Failed to switch profile: HTTP error 404: no such profile",
                                       "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(app.timedRequests(), (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles}));
}

TEST(AppViewStateSwitching, refreshesUpToTenTimesUntilTheDaemonHasSwitched) {
    WithProfiles app;
    // The daemon accepts the switch but still names the old profile.
    app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    app.daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
    app.appState->switchProfile("b");
    app.advance(seconds(0.5));
    app.appState->refreshProfiles();
    app.advance(seconds(0.4));
    EXPECT_EQ(app.current(), "a/a");
    app.forget();
    app.advance(seconds(100));
    Lines expected;
    for (int i = 0; i < 10; ++i)
        expected.push_back(fmt::format("{:.3f} {}", 1 + 0.3 * i, getProfiles));
    EXPECT_EQ(app.timedRequests(), expected);
    EXPECT_EQ(app.count("refreshProfiles called"), 10);
}

TEST(AppViewStateSwitching, stopsRefreshingOnceTheDaemonHasSwitched) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::ok());
    app.daemon.deliveries["/localapi/v0/profiles/switch"].delay = seconds(1);
    app.appState->switchProfile("b");
    app.advance(seconds(0.5));
    app.appState->refreshProfiles();
    app.advance(seconds(1)); // refreshes at 1.0 and 1.3
    app.daemon.model.switchProfile("b");
    app.forget();
    app.advance(seconds(100));
    // The refresh at 1.6 brings the new profile; the one at 1.9 is sent before it is noticed, and
    // is the last.
    EXPECT_EQ(app.timedRequests(), (Lines{"1.600 " + getProfiles, "1.900 " + getProfiles}));
    EXPECT_EQ(app.current(), "b/b");
}

TEST(AppViewStateSwitching, opensTheLoginPageOfTheProfileItSwitchesTo) {
    WithProfiles app;
    app.daemon.answer(
        "POST", "/localapi/v0/login",
        SimulatedDaemon::ok(R"({"interactive_login_url":"https://login.example.com/b"})"));
    app.appState->switchProfileAndLogin("b");
    EXPECT_EQ(app.current(), "b/b");
    app.advance(seconds(10));
    EXPECT_EQ(app.timedRequests(),
              (Lines{"0.000 " + switchTo("b"), "0.000 " + getProfiles, "0.000 " + login}));
    EXPECT_EQ(app.stateLines(),
              (Lines{"switchProfileAndLogin to b", "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(app.system.workspace.openedURLs(), Lines{"https://login.example.com/b"});
}

TEST(AppViewStateSwitching, logsWhyTheSwitchedProfileHasNoLoginPage) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::ok("{}"));
    app.appState->switchProfileAndLogin("b");
    app.run();
    EXPECT_EQ(app.count("startLogin after switch failed: Failed to decode LocalAPI JSON response"),
              1);
    EXPECT_EQ(app.system.workspace.triedURLs(), Lines{});
}

TEST(AppViewStateSwitching, asksForNoLoginPageWhenTheSwitchFails) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch", SimulatedDaemon::status(503, "busy"));
    app.appState->switchProfileAndLogin("b");
    app.advance(seconds(10));
    EXPECT_EQ(app.current(), "a/a");
    EXPECT_EQ(app.stateLines(), (Lines{"switchProfileAndLogin to b",
                                       "switchProfileAndLogin failed: HTTP error 503: busy",
                                       "refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(app.requests(), (Lines{switchTo("b"), getProfiles}));
}

TEST(AppViewStateSwitching, opensNoLoginPageOutsideTheWeb) {
    for (const auto* const url : {"not a url", "file:///bin/sh", "settings:a"}) {
        WithProfiles app;
        app.daemon.answer(
            "POST", "/localapi/v0/login",
            SimulatedDaemon::ok(fmt::format(R"({{"interactive_login_url":"{}"}})", url)));
        app.appState->switchProfileAndLogin("b");
        app.appState->addNewAccount();
        app.run();
        EXPECT_EQ(app.system.workspace.triedURLs(), Lines{});
        EXPECT_EQ(app.count("Got login URL for new account"), 1);
    }
}

// Adding

TEST(AppViewStateSwitching, opensALoginPageForANewAccount) {
    WithProfiles app;
    app.daemon.answer(
        "POST", "/localapi/v0/login",
        SimulatedDaemon::ok(R"({"InteractiveLoginUrl":"https://login.example.com/n"})"));
    app.appState->addNewAccount();
    app.advance(seconds(10));
    EXPECT_EQ(app.timedRequests(),
              (Lines{"0.000 POST /localapi/v0/profiles/switch-to-empty", "0.000 " + login}));
    EXPECT_EQ(app.stateLines(),
              (Lines{"addNewAccount called", "Switched to empty profile, starting login flow",
                     "Got login URL for new account"}));
    EXPECT_EQ(app.system.workspace.openedURLs(), Lines{"https://login.example.com/n"});
    EXPECT_EQ(app.current(), "a/a");
}

TEST(AppViewStateSwitching, startsNoLoginWithoutAnEmptyProfile) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/profiles/switch-to-empty",
                      SimulatedDaemon::status(503, "busy"));
    app.appState->addNewAccount();
    app.advance(seconds(10));
    EXPECT_EQ(app.stateLines(), (Lines{"addNewAccount called",
                                       "Failed to switch to empty profile: HTTP error 503: busy"}));
    EXPECT_EQ(app.requests(), Lines{"POST /localapi/v0/profiles/switch-to-empty"});
}

TEST(AppViewStateSwitching, logsWhyANewAccountHasNoLoginPage) {
    WithProfiles app;
    app.daemon.answer("POST", "/localapi/v0/login",
                      SimulatedDaemon::ok(R"({"interactive_login_url":""})"));
    app.appState->addNewAccount();
    app.run();
    EXPECT_EQ(app.stateLines().back(),
              "Failed to get login URL: Failed to decode LocalAPI JSON response");
}

} // namespace
} // namespace quoxelin::testing
