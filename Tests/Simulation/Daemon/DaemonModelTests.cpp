#include "Tests/Simulation/Daemon/ModelFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

using namespace std::chrono_literals;

class DaemonModelTest : public ::testing::Test, protected ModelWorld {};

class LoggedInDaemonModel : public ::testing::Test, protected ModelWorld {
  protected:
    LoggedInDaemonModel() : ModelWorld(loggedInSettings()) {}
};

TEST_F(DaemonModelTest, startsLoggedOutOnTheFirstOfTwoProfiles) {
    EXPECT_EQ(model.state(), BackendState::needsLogin);
    const Tree profiles = model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "7c41");
    ASSERT_EQ(profiles.at("profiles").size(), 2u);
    EXPECT_EQ(profiles.at("profiles").at(0).at("is_current"), true);
    EXPECT_EQ(profiles.at("profiles").at(1).at("is_current"), false);
    EXPECT_TRUE(profiles.at("profiles").at(0).at("node_id").isNull());
}

TEST_F(LoggedInDaemonModel, startsRunningIfConfiguredAsLoggedIn) {
    EXPECT_EQ(model.state(), BackendState::running);
    const Tree status = model.status();
    EXPECT_EQ(status.at("backend_state"), "Running");
    EXPECT_EQ(status.at("self").at("id"), 6203948571029384751);
    EXPECT_EQ(status.at("self").at("quoxelin_ips"), status.at("quoxelin_ips"));
    EXPECT_EQ(status.at("quoxelin_ips").size(), 2u);
}

TEST_F(DaemonModelTest, hasNoNodeWhileLoggedOut) {
    const Tree status = model.status();
    EXPECT_FALSE(status.contains("self"));
    EXPECT_TRUE(status.at("quoxelin_ips").size() == 0);
    EXPECT_EQ(status.at("interactive_login_url"), "");
}

TEST_F(DaemonModelTest, goesThroughStartingToRunningWhenLoginCompletes) {
    const std::string url = model.beginLogin();
    EXPECT_EQ(url.rfind("http://127.0.0.1:8080/login/", 0), 0u);
    EXPECT_EQ(model.pendingLoginUrl(), url);
    EXPECT_EQ(takeAnnounced(), Lines{R"({"InteractiveLoginUrl":")" + url + R"("})"});

    const auto callback = model.completeLogin();
    ASSERT_TRUE(callback);
    EXPECT_EQ(callback->rfind("quoxelin://login/callback?token=", 0), 0u);
    EXPECT_EQ(callbacks, Lines{*callback});
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Starting"})"});
    EXPECT_FALSE(model.pendingLoginUrl());

    EXPECT_EQ(runDelayed(), 150ms);
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Running","NetMap":true})"});
    EXPECT_EQ(Tree(model.preferences()).at("WantRunning"), true);
}

TEST_F(DaemonModelTest, keepsTheLoginUrlUntilTheLoginCompletes) {
    const std::string url = model.beginLogin();
    takeAnnounced();
    EXPECT_EQ(model.beginLogin(), url);
    EXPECT_EQ(takeAnnounced(), Lines{});
    EXPECT_EQ(Tree(model.status()).at("interactive_login_url").text(), url);
}

TEST_F(DaemonModelTest, givesEveryLoginADistinctUrl) {
    const std::string first = model.beginLogin();
    model.completeLogin();
    model.logOut();
    EXPECT_NE(model.beginLogin(), first);
}

TEST_F(LoggedInDaemonModel, needsNoLoginOnAProfileThatIsLoggedIn) {
    EXPECT_EQ(model.beginLogin(), "");
    EXPECT_FALSE(model.completeLogin());
    EXPECT_EQ(takeAnnounced(), Lines{});
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

TEST_F(LoggedInDaemonModel, stopsAndStartsWithWantRunning) {
    model.setWantRunning(false);
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Stopped"})"});
    EXPECT_TRUE(Tree(model.status()).contains("self"));

    model.setWantRunning(true);
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Starting"})"});
    runDelayed();
    // The map was already sent.
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Running"})"});
}

TEST_F(LoggedInDaemonModel, announcesNothingWhenWantRunningStaysTheSame) {
    model.setWantRunning(true);
    EXPECT_EQ(takeAnnounced(), Lines{});
}

TEST_F(DaemonModelTest, staysLoggedOutWhenItWantsToRunWithoutALogin) {
    model.setWantRunning(true);
    EXPECT_EQ(model.state(), BackendState::needsLogin);
    EXPECT_EQ(takeAnnounced(), Lines{});
}

TEST_F(LoggedInDaemonModel, doesNotRunAfterItWasStoppedWhileStarting) {
    model.setWantRunning(false);
    model.setWantRunning(true);
    model.setWantRunning(false);
    runDelayed();
    EXPECT_EQ(model.state(), BackendState::stopped);
    EXPECT_EQ(takeAnnounced().back(), R"({"State":"Stopped"})");
}

TEST_F(LoggedInDaemonModel, logsTheCurrentProfileOutAndKeepsIt) {
    model.logOut();
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"NeedsLogin"})"});
    EXPECT_EQ(model.currentId(), "7c41");
    EXPECT_TRUE(Tree(model.profiles()).at("profiles").at(0).at("node_id").isNull());
    EXPECT_FALSE(Tree(model.profiles()).at("profiles").at(1).at("node_id").isNull());
    EXPECT_EQ(Tree(model.preferences()).at("WantRunning"), false);
}

TEST_F(LoggedInDaemonModel, switchesToAProfileThatIsLoggedInWithItsOwnNode) {
    EXPECT_TRUE(model.switchProfile("e09d"));
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Starting"})"});
    runDelayed();
    ASSERT_EQ(lines.size(), 1u);
    const Tree map = Tree::parse(lines[0]).at("NetMap");
    EXPECT_EQ(map.at("SelfNode").at("Node").at("ID"), 1180239471625530472);
    EXPECT_EQ(Tree(model.status()).at("self").at("id"), 1180239471625530472);
    EXPECT_EQ(Tree(model.profiles()).at("current_profile_id"), "e09d");
}

TEST_F(LoggedInDaemonModel, switchesToAProfileThatIsStoppedAndSendsItsMap) {
    model.setWantRunning(false);
    model.switchProfile("e09d");
    runDelayed();
    takeAnnounced();
    model.switchProfile("7c41");
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"Stopped","NetMap":true})"});
}

TEST_F(LoggedInDaemonModel, doesNothingWhenSwitchedToTheCurrentProfile) {
    EXPECT_TRUE(model.switchProfile("7c41"));
    EXPECT_EQ(takeAnnounced(), Lines{});
}

TEST_F(LoggedInDaemonModel, refusesAnUnknownProfile) {
    EXPECT_FALSE(model.switchProfile("nobody"));
    EXPECT_FALSE(model.switchProfile(""));
    EXPECT_EQ(takeAnnounced(), Lines{});
    EXPECT_EQ(model.state(), BackendState::running);
}

TEST_F(LoggedInDaemonModel, needsALoginOnTheEmptyProfile) {
    model.switchToEmptyProfile();
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"NeedsLogin"})"});
    const Tree profiles = model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "");
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(profiles.at("profiles").at(i).at("is_current"), false);
}

TEST_F(LoggedInDaemonModel, createsAProfileWhenALoginCompletesOnTheEmptyOne) {
    model.switchToEmptyProfile();
    model.beginLogin();
    const std::string person = model.pendingPerson();
    model.completeLogin();
    ASSERT_EQ(model.accounts().size(), 3u);
    const Account& created = model.accounts().back();
    EXPECT_EQ(created.id, model.currentId());
    EXPECT_NE(person.find(created.email), std::string::npos);

    model.switchToEmptyProfile();
    model.completeLogin();
    EXPECT_NE(model.accounts().back().id, created.id);
}

TEST_F(LoggedInDaemonModel, jailsWithAndWithoutAReason) {
    model.jail("disk not encrypted");
    model.jail(std::nullopt);
    model.unjail();
    EXPECT_EQ(takeAnnounced(), (Lines{R"({"Jailed":true,"JailReason":"disk not encrypted"})",
                                      R"({"Jailed":true})", R"({"Jailed":false})"}));
}

TEST_F(LoggedInDaemonModel, reportsTheJailInItsStatus) {
    model.jail("disk not encrypted");
    EXPECT_EQ(Tree(model.status()).at("jailed"), true);
    EXPECT_EQ(Tree(model.status()).at("jail_reason"), "disk not encrypted");
    model.unjail();
    EXPECT_EQ(Tree(model.status()).at("jailed"), false);
    EXPECT_EQ(Tree(model.status()).at("jail_reason"), "");
}

TEST_F(LoggedInDaemonModel, leavesTheJailBehindWithTheProfile) {
    model.jail("disk not encrypted");
    takeAnnounced();
    model.switchProfile("e09d");
    EXPECT_EQ(takeAnnounced(), Lines{R"({"Jailed":false,"State":"Starting"})"});
}

TEST_F(LoggedInDaemonModel, greetsANewObserverWithTheCurrentState) {
    model.jail("disk not encrypted");
    const Tree greeting = Tree::parse(model.greeting());
    EXPECT_NE(greeting.at("Version").text(), "");
    EXPECT_EQ(greeting.at("State"), "Running");
    EXPECT_EQ(greeting.at("Jailed"), true);
    EXPECT_EQ(greeting.at("JailReason"), "disk not encrypted");
    EXPECT_EQ(greeting.at("NetMap").at("Peers").size(), 5u);
    EXPECT_FALSE(greeting.contains("InteractiveLoginUrl"));
}

TEST_F(DaemonModelTest, greetsWithThePendingLoginUrl) {
    const std::string url = model.beginLogin();
    const Tree greeting = Tree::parse(model.greeting());
    EXPECT_EQ(greeting.at("InteractiveLoginUrl").text(), url);
    EXPECT_FALSE(greeting.contains("NetMap"));
}

TEST_F(LoggedInDaemonModel, sendsTheMapAgainWhenThePeersChange) {
    model.setPeerCount(2);
    ASSERT_EQ(lines.size(), 1u);
    const Tree line = Tree::parse(lines[0]);
    EXPECT_FALSE(line.contains("State"));
    EXPECT_EQ(line.at("NetMap").at("Peers").size(), 2u);
}

TEST_F(DaemonModelTest, keepsNewPeersForTheNextLoginWhileLoggedOut) {
    model.setPeerCount(2);
    EXPECT_EQ(takeAnnounced(), Lines{});
    model.completeLogin();
    runDelayed();
    const Tree line = Tree::parse(lines.back());
    EXPECT_EQ(line.at("NetMap").at("Peers").size(), 2u);
}

TEST_F(LoggedInDaemonModel, canBeSetToAnyStateWhichCancelsPendingChanges) {
    model.setWantRunning(false);
    model.setWantRunning(true);
    takeAnnounced();
    model.setBackendState(BackendState::noState);
    runDelayed();
    EXPECT_EQ(takeAnnounced(), Lines{R"({"State":"NoState"})"});
    EXPECT_EQ(Tree(model.status()).at("backend_state"), "NoState");
}

TEST_F(LoggedInDaemonModel, replacesItsProfiles) {
    Account only = newAccount(7);
    only.id = "only";
    only.email.clear();
    model.setAccounts({only}, "only");
    const Tree profiles = model.profiles();
    EXPECT_EQ(profiles.at("current_profile_id"), "only");
    EXPECT_FALSE(profiles.at("profiles").at(0).contains("user_email"));
    EXPECT_EQ(model.state(), BackendState::needsLogin);

    model.setAccounts({}, "only");
    EXPECT_EQ(model.currentId(), "");
}

} // namespace
} // namespace quoxelin::sim
