#include "Tests/Simulation/Daemon/ModelFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

using namespace std::chrono_literals;
TEST(DaemonModel, startsLoggedOutOnTheFirstOfTwoProfiles) {
    ModelWorld world;
    EXPECT_EQ(world.model.state(), BackendState::needsLogin);
    const Tree profiles = world.model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "7c41");
    ASSERT_EQ(profiles.at("profiles").size(), 2u);
    EXPECT_EQ(profiles.at("profiles").at(0).at("is_current"), true);
    EXPECT_EQ(profiles.at("profiles").at(1).at("is_current"), false);
    EXPECT_TRUE(profiles.at("profiles").at(0).at("node_id").isNull());
}

TEST(DaemonModel, startsRunningIfConfiguredAsLoggedIn) {
    const auto world = ModelWorld::loggedIn();
    EXPECT_EQ(world->model.state(), BackendState::running);
    const Tree status = world->model.status();
    EXPECT_EQ(status.at("backend_state"), "Running");
    EXPECT_EQ(status.at("self").at("id"), 6203948571029384751);
    EXPECT_EQ(status.at("self").at("quoxelin_ips"), status.at("quoxelin_ips"));
    EXPECT_EQ(status.at("quoxelin_ips").size(), 2u);
}

TEST(DaemonModel, hasNoNodeWhileLoggedOut) {
    ModelWorld world;
    const Tree status = world.model.status();
    EXPECT_FALSE(status.contains("self"));
    EXPECT_TRUE(status.at("quoxelin_ips").size() == 0);
    EXPECT_EQ(status.at("interactive_login_url"), "");
}

TEST(DaemonModel, goesThroughStartingToRunningWhenLoginCompletes) {
    ModelWorld world;
    const std::string url = world.model.beginLogin();
    EXPECT_EQ(url.rfind("http://127.0.0.1:8080/login/", 0), 0u);
    EXPECT_EQ(world.model.pendingLoginUrl(), url);
    EXPECT_EQ(world.takeAnnounced(), Lines{R"({"InteractiveLoginUrl":")" + url + R"("})"});

    const auto callback = world.model.completeLogin();
    ASSERT_TRUE(callback);
    EXPECT_EQ(callback->rfind("quoxelin://login/callback?token=", 0), 0u);
    EXPECT_EQ(world.callbacks, Lines{*callback});
    EXPECT_EQ(world.takeAnnounced(), Lines{R"({"State":"Starting"})"});
    EXPECT_FALSE(world.model.pendingLoginUrl());

    EXPECT_EQ(world.runDelayed(), 150ms);
    EXPECT_EQ(world.takeAnnounced(), Lines{R"({"State":"Running","NetMap":true})"});
    EXPECT_EQ(Tree(world.model.preferences()).at("WantRunning"), true);
}

TEST(DaemonModel, keepsTheLoginUrlUntilTheLoginCompletes) {
    ModelWorld world;
    const std::string url = world.model.beginLogin();
    world.takeAnnounced();
    EXPECT_EQ(world.model.beginLogin(), url);
    EXPECT_EQ(world.takeAnnounced(), Lines{});
    EXPECT_EQ(Tree(world.model.status()).at("interactive_login_url").text(), url);
}

TEST(DaemonModel, givesEveryLoginADistinctUrl) {
    ModelWorld world;
    const std::string first = world.model.beginLogin();
    world.model.completeLogin();
    world.model.logOut();
    EXPECT_NE(world.model.beginLogin(), first);
}

TEST(DaemonModel, needsNoLoginOnAProfileThatIsLoggedIn) {
    const auto world = ModelWorld::loggedIn();
    EXPECT_EQ(world->model.beginLogin(), "");
    EXPECT_FALSE(world->model.completeLogin());
    EXPECT_EQ(world->takeAnnounced(), Lines{});
}

TEST(DaemonModel, completesALoginByItselfIfConfigured) {
    DaemonModel::Settings settings;
    settings.autoLogin = 2s;
    ModelWorld world(settings);
    world.model.beginLogin();
    EXPECT_EQ(world.runDelayed(), 2s);
    EXPECT_EQ(world.model.state(), BackendState::starting);
    EXPECT_EQ(world.callbacks.size(), 1u);
}

TEST(DaemonModel, doesNotCompleteAnAbandonedLoginByItself) {
    DaemonModel::Settings settings;
    settings.autoLogin = 2s;
    ModelWorld world(settings);
    world.model.beginLogin();
    world.model.switchToEmptyProfile();
    world.runDelayed();
    EXPECT_EQ(world.model.state(), BackendState::needsLogin);
    EXPECT_TRUE(world.callbacks.size() == 0);
}

TEST(DaemonModel, stopsAndStartsWithWantRunning) {
    const auto world = ModelWorld::loggedIn();
    world->model.setWantRunning(false);
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"Stopped"})"});
    EXPECT_TRUE(Tree(world->model.status()).contains("self"));

    world->model.setWantRunning(true);
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"Starting"})"});
    world->runDelayed();
    // The map was already sent.
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"Running"})"});
}

TEST(DaemonModel, announcesNothingWhenWantRunningStaysTheSame) {
    const auto world = ModelWorld::loggedIn();
    world->model.setWantRunning(true);
    EXPECT_EQ(world->takeAnnounced(), Lines{});
}

TEST(DaemonModel, staysLoggedOutWhenItWantsToRunWithoutALogin) {
    ModelWorld world;
    world.model.setWantRunning(true);
    EXPECT_EQ(world.model.state(), BackendState::needsLogin);
    EXPECT_EQ(world.takeAnnounced(), Lines{});
}

TEST(DaemonModel, doesNotRunAfterItWasStoppedWhileStarting) {
    const auto world = ModelWorld::loggedIn();
    world->model.setWantRunning(false);
    world->model.setWantRunning(true);
    world->model.setWantRunning(false);
    world->runDelayed();
    EXPECT_EQ(world->model.state(), BackendState::stopped);
    EXPECT_EQ(world->takeAnnounced().back(), R"({"State":"Stopped"})");
}

TEST(DaemonModel, logsTheCurrentProfileOutAndKeepsIt) {
    const auto world = ModelWorld::loggedIn();
    world->model.logOut();
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"NeedsLogin"})"});
    EXPECT_EQ(world->model.currentId(), "7c41");
    EXPECT_TRUE(Tree(world->model.profiles()).at("profiles").at(0).at("node_id").isNull());
    EXPECT_FALSE(Tree(world->model.profiles()).at("profiles").at(1).at("node_id").isNull());
    EXPECT_EQ(Tree(world->model.preferences()).at("WantRunning"), false);
}

TEST(DaemonModel, switchesToAProfileThatIsLoggedInWithItsOwnNode) {
    const auto world = ModelWorld::loggedIn();
    EXPECT_TRUE(world->model.switchProfile("e09d"));
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"Starting"})"});
    world->runDelayed();
    ASSERT_EQ(world->lines.size(), 1u);
    const Tree map = Tree::parse(world->lines[0]).at("NetMap");
    EXPECT_EQ(map.at("SelfNode").at("Node").at("ID"), 1180239471625530472);
    EXPECT_EQ(Tree(world->model.status()).at("self").at("id"), 1180239471625530472);
    EXPECT_EQ(Tree(world->model.profiles()).at("current_profile_id"), "e09d");
}

TEST(DaemonModel, switchesToAProfileThatIsStoppedAndSendsItsMap) {
    const auto world = ModelWorld::loggedIn();
    world->model.setWantRunning(false);
    world->model.switchProfile("e09d");
    world->runDelayed();
    world->takeAnnounced();
    world->model.switchProfile("7c41");
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"Stopped","NetMap":true})"});
}

TEST(DaemonModel, doesNothingWhenSwitchedToTheCurrentProfile) {
    const auto world = ModelWorld::loggedIn();
    EXPECT_TRUE(world->model.switchProfile("7c41"));
    EXPECT_EQ(world->takeAnnounced(), Lines{});
}

TEST(DaemonModel, refusesAnUnknownProfile) {
    const auto world = ModelWorld::loggedIn();
    EXPECT_FALSE(world->model.switchProfile("nobody"));
    EXPECT_FALSE(world->model.switchProfile(""));
    EXPECT_EQ(world->takeAnnounced(), Lines{});
    EXPECT_EQ(world->model.state(), BackendState::running);
}

TEST(DaemonModel, needsALoginOnTheEmptyProfile) {
    const auto world = ModelWorld::loggedIn();
    world->model.switchToEmptyProfile();
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"NeedsLogin"})"});
    const Tree profiles = world->model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "");
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(profiles.at("profiles").at(i).at("is_current"), false);
}

TEST(DaemonModel, createsAProfileWhenALoginCompletesOnTheEmptyOne) {
    const auto world = ModelWorld::loggedIn();
    world->model.switchToEmptyProfile();
    world->model.beginLogin();
    const std::string person = world->model.pendingPerson();
    world->model.completeLogin();
    ASSERT_EQ(world->model.accounts().size(), 3u);
    const Account& created = world->model.accounts().back();
    EXPECT_EQ(created.id, world->model.currentId());
    EXPECT_NE(person.find(created.email), std::string::npos);

    world->model.switchToEmptyProfile();
    world->model.completeLogin();
    EXPECT_NE(world->model.accounts().back().id, created.id);
}

TEST(DaemonModel, jailsWithAndWithoutAReason) {
    const auto world = ModelWorld::loggedIn();
    world->model.jail("disk not encrypted");
    world->model.jail(std::nullopt);
    world->model.unjail();
    EXPECT_EQ(world->takeAnnounced(), (Lines{R"({"Jailed":true,"JailReason":"disk not encrypted"})",
                                             R"({"Jailed":true})", R"({"Jailed":false})"}));
}

TEST(DaemonModel, reportsTheJailInItsStatus) {
    const auto world = ModelWorld::loggedIn();
    world->model.jail("disk not encrypted");
    EXPECT_EQ(Tree(world->model.status()).at("jailed"), true);
    EXPECT_EQ(Tree(world->model.status()).at("jail_reason"), "disk not encrypted");
    world->model.unjail();
    EXPECT_EQ(Tree(world->model.status()).at("jailed"), false);
    EXPECT_EQ(Tree(world->model.status()).at("jail_reason"), "");
}

TEST(DaemonModel, leavesTheJailBehindWithTheProfile) {
    const auto world = ModelWorld::loggedIn();
    world->model.jail("disk not encrypted");
    world->takeAnnounced();
    world->model.switchProfile("e09d");
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"Jailed":false,"State":"Starting"})"});
}

TEST(DaemonModel, greetsANewObserverWithTheCurrentState) {
    const auto world = ModelWorld::loggedIn();
    world->model.jail("disk not encrypted");
    const Tree greeting = Tree::parse(world->model.greeting());
    EXPECT_NE(greeting.at("Version").text(), "");
    EXPECT_EQ(greeting.at("State"), "Running");
    EXPECT_EQ(greeting.at("Jailed"), true);
    EXPECT_EQ(greeting.at("JailReason"), "disk not encrypted");
    EXPECT_EQ(greeting.at("NetMap").at("Peers").size(), 5u);
    EXPECT_FALSE(greeting.contains("InteractiveLoginUrl"));
}

TEST(DaemonModel, greetsWithThePendingLoginUrl) {
    ModelWorld world;
    const std::string url = world.model.beginLogin();
    const Tree greeting = Tree::parse(world.model.greeting());
    EXPECT_EQ(greeting.at("InteractiveLoginUrl").text(), url);
    EXPECT_FALSE(greeting.contains("NetMap"));
}

TEST(DaemonModel, sendsTheMapAgainWhenThePeersChange) {
    const auto world = ModelWorld::loggedIn();
    world->model.setPeerCount(2);
    ASSERT_EQ(world->lines.size(), 1u);
    const Tree line = Tree::parse(world->lines[0]);
    EXPECT_FALSE(line.contains("State"));
    EXPECT_EQ(line.at("NetMap").at("Peers").size(), 2u);
}

TEST(DaemonModel, keepsNewPeersForTheNextLoginWhileLoggedOut) {
    ModelWorld world;
    world.model.setPeerCount(2);
    EXPECT_EQ(world.takeAnnounced(), Lines{});
    world.model.completeLogin();
    world.runDelayed();
    const Tree line = Tree::parse(world.lines.back());
    EXPECT_EQ(line.at("NetMap").at("Peers").size(), 2u);
}

TEST(DaemonModel, canBeSetToAnyStateWhichCancelsPendingChanges) {
    const auto world = ModelWorld::loggedIn();
    world->model.setWantRunning(false);
    world->model.setWantRunning(true);
    world->takeAnnounced();
    world->model.setBackendState(BackendState::noState);
    world->runDelayed();
    EXPECT_EQ(world->takeAnnounced(), Lines{R"({"State":"NoState"})"});
    EXPECT_EQ(Tree(world->model.status()).at("backend_state"), "NoState");
}

TEST(DaemonModel, replacesItsProfiles) {
    const auto world = ModelWorld::loggedIn();
    Account only = newAccount(7);
    only.id = "only";
    only.email.clear();
    world->model.setAccounts({only}, "only");
    const Tree profiles = world->model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "only");
    EXPECT_FALSE(profiles.at("profiles").at(0).contains("user_email"));
    EXPECT_EQ(world->model.state(), BackendState::needsLogin);

    world->model.setAccounts({}, "only");
    EXPECT_EQ(world->model.currentId(), "");
}

} // namespace
} // namespace quoxelin::sim
