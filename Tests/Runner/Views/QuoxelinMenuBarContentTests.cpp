#include "Tests/Runner/Views/PanelFixture.h"

#include <gmock/gmock.h>

namespace quoxelin::testing {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class QuoxelinMenuBarContentTests : public PanelFixture {};

class QuoxelinMenuBarContentLoggedIn : public PanelFixture {
  protected:
    QuoxelinMenuBarContentLoggedIn() { logIn(); }
};

// The connection

TEST_F(QuoxelinMenuBarContentLoggedIn, disconnectsWhenConnected) {
    click("Disconnect");
    EXPECT_THAT(log(), Contains("[State] disconnect"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, ignoresASecondClickWhileConnecting) {
    appState->vpn = VpnViewState{VPNConnectionStatus::connecting};
    click("Connect");
    EXPECT_THAT(logAfterward(), IsEmpty());
    EXPECT_THAT(daemon.requestLines(), IsEmpty());
}

TEST_F(QuoxelinMenuBarContentLoggedIn, connectsInEveryOtherStatus) {
    for (const auto status : {VPNConnectionStatus::disconnected, VPNConnectionStatus::disconnecting,
                              VPNConnectionStatus::error, VPNConnectionStatus::unknown}) {
        system.systemLog.clear();
        appState->vpn = VpnViewState{status};
        click("Connect");
        EXPECT_THAT(log(), Contains("[State] connect"));
    }
}

// The login

TEST_F(QuoxelinMenuBarContentTests, opensNoLoginPageOutsideTheWeb) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::ok(R"({"InteractiveLoginURL":"file:///bin/sh"})"));
    click("Login Quoxelin");
    dispatch.runUntilIdle();
    EXPECT_THAT(system.workspace.triedURLs(), IsEmpty());
}

TEST_F(QuoxelinMenuBarContentTests, opensTheLoginPageAndPollsForItsCompletion) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::ok(R"({"InteractiveLoginURL":"https://login.example.com/a"})"));
    click("Login Quoxelin");
    EXPECT_THAT(system.workspace.openedURLs(), IsEmpty());
    dispatch.runUntilIdle();
    EXPECT_THAT(system.workspace.openedURLs(), ElementsAre("https://login.example.com/a"));
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 0u);
    dispatch.advance(seconds(1));
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 1u);
    EXPECT_THAT(log(), Not(Contains(StartsWith("[UI]"))));
}

TEST_F(QuoxelinMenuBarContentTests, logsALoginThatTheDaemonRefuses) {
    daemon.refuseConnections();
    click("Login Quoxelin");
    EXPECT_THAT(logAfterward(), Contains(StartsWith("[UI] LocalAPI login failed: ")));
    EXPECT_THAT(system.workspace.openedURLs(), IsEmpty());
    dispatch.advance(seconds(5));
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 0u);
}

TEST_F(QuoxelinMenuBarContentTests, doesNotOpenALoginPageThatIsNotAURL) {
    daemon.answer("POST", "/localapi/v0/login",
                  SimulatedDaemon::ok(R"({"InteractiveLoginURL":"https://exa mple/%zz"})"));
    click("Login Quoxelin");
    dispatch.advance(seconds(1));
    EXPECT_THAT(system.workspace.triedURLs(), IsEmpty());
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 1u);
}

TEST_F(QuoxelinMenuBarContentTests, doesNothingWhenTheLoginPageArrivesAfterDestruction) {
    daemon.deliveries["/localapi/v0/login"].delay = seconds(2);
    click("Login Quoxelin");
    dispatch.advance(seconds(1));
    content.reset();
    dispatch.advance(seconds(10));
    EXPECT_THAT(system.workspace.triedURLs(), IsEmpty());
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 0u);
}

// The helper

TEST_F(QuoxelinMenuBarContentTests, opensTheFirstSettingsPaneThatTheSystemHas) {
    const auto* const loginItems =
        "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";
    appState->helperNeedsApproval = true;
    click("Enable Helper (Login Items)");
    EXPECT_THAT(system.workspace.triedURLs(), ElementsAre(loginItems));
    system.workspace.refuseURLs("");
    click("Enable Helper (Login Items)");
    EXPECT_THAT(
        system.workspace.triedURLs(),
        ElementsAre(loginItems, loginItems,
                    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension",
                    "x-apple.systempreferences:com.apple.preference.security?General"));
    EXPECT_THAT(system.workspace.openedURLs(), ElementsAre(loginItems));
}

// The system extension

TEST_F(QuoxelinMenuBarContentLoggedIn, leadsToTheSettingsAndActivatesTheExtensionAgain) {
    systemExtension->isApproved = false;
    content->waitingReboot = true;
    click("System Extension Not Active");
    EXPECT_FALSE(content->waitingReboot);
    EXPECT_THAT(system.workspace.openedURLs(),
                ElementsAre("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
    EXPECT_EQ(system.systemExtensions.submissions(OSSystemExtensionRequest::Kind::activation), 1u);
}

TEST_F(QuoxelinMenuBarContentLoggedIn, doesNotActivateAnExtensionApprovedMeanwhile) {
    systemExtension->isApproved = false;
    const auto shown = tree();
    systemExtension->isApproved = true;
    testing::click(shown, "System Extension Not Active");
    EXPECT_EQ(system.workspace.openedURLs().size(), 1u);
    EXPECT_EQ(system.systemExtensions.submissions(OSSystemExtensionRequest::Kind::activation), 0u);
}

TEST_F(QuoxelinMenuBarContentTests, knowsThatTheExtensionWaitsForARestart) {
    EXPECT_FALSE(content->waitingReboot);
    system.systemExtensions.result =
        static_cast<int>(OSSystemExtensionRequestResult::willCompleteAfterReboot);
    systemExtension->activate();
    dispatch.runUntilIdle();
    EXPECT_TRUE(content->waitingReboot);
}

TEST_F(QuoxelinMenuBarContentLoggedIn, showsAnErrorInPlaceOfTheGuideOfEverySystem) {
    systemExtension->isApproved = false;
    systemExtension->lastErrorDescription = "Broken.";
    for (const int version : {14, 15, 26}) {
        system.processInfo.majorVersion = version;
        EXPECT_TRUE(shows("システム拡張を有効化できませんでした\nBroken."));
    }
    systemExtension->lastErrorDescription = "";
    EXPECT_TRUE(shows("System Settings → General → Login Items & Extensions\n"
                      "でネットワーク拡張を許可してください"));
    system.processInfo.majorVersion = 14;
    EXPECT_TRUE(
        shows("System Settings → Privacy & Security\nでネットワーク拡張を許可してください"));
}

// Addresses

TEST_F(QuoxelinMenuBarContentTests, splitsAddressesByFamily) {
    using Split = QuoxelinMenuBarContent::SplitIPs;
    const auto split = QuoxelinMenuBarContent::splitIPs;
    EXPECT_EQ(split("100.64.0.1, fd7a::1"), (Split{"100.64.0.1", "fd7a::1"}));
    EXPECT_EQ(split("fd7a::1"), (Split{std::nullopt, "fd7a::1"}));
    EXPECT_EQ(split(""), Split{});
    EXPECT_EQ(split(",, \t,"), Split{});
    EXPECT_EQ(split(",100.64.0.1,100.64.0.2,fd7a::1,fd7a::2"), (Split{"100.64.0.1", "fd7a::1"}));
    EXPECT_EQ(split("::ffff:100.64.0.1"), (Split{std::nullopt, "::ffff:100.64.0.1"}));
    EXPECT_EQ(split("localhost"), Split{});
}

TEST_F(QuoxelinMenuBarContentTests, saysOnlyCopiedForAnAddressWithoutALabel) {
    content->copy("100.64.0.4", "");
    EXPECT_EQ(system.pasteboard.string(), "100.64.0.4");
    const auto requests = system.userNotificationCenter.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].title, "Copied");
    EXPECT_EQ(requests[0].body, "100.64.0.4");
}

TEST_F(QuoxelinMenuBarContentLoggedIn, copiesAnAddressAndSaysSo) {
    click("Quoxelin IPv4: 100.64.0.4");
    EXPECT_EQ(system.pasteboard.string(), "100.64.0.4");
    click("Quoxelin IPv6: fd7a::4");
    EXPECT_EQ(system.pasteboard.string(), "fd7a::4");
    click("DNS: harus-laptop");
    EXPECT_EQ(system.pasteboard.string(), "harus-laptop");
    EXPECT_EQ(system.pasteboard.changeCount(), 3);

    const auto requests = system.userNotificationCenter.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].title, "Quoxelin IPv4 Copied");
    EXPECT_EQ(requests[0].body, "100.64.0.4");
    EXPECT_EQ(requests[1].title, "Quoxelin IPv6 Copied");
    EXPECT_EQ(requests[1].body, "fd7a::4");
    EXPECT_EQ(requests[2].title, "DNS: harus-laptop Copied");
    EXPECT_EQ(requests[2].body, "harus-laptop");
    for (const auto& request : requests) {
        EXPECT_TRUE(request.defaultSound);
        EXPECT_THAT(request.identifier, StartsWith("copy-"));
        EXPECT_EQ(request.identifier.size(), std::string("copy-").size() + 36);
    }
    EXPECT_NE(requests[0].identifier, requests[1].identifier);
    EXPECT_THAT(system.userNotificationCenter.authorizationRequests(), IsEmpty());
}

// Accounts

TEST_F(QuoxelinMenuBarContentTests, reloadsTheAccountsWheneverTheSwitcherOpensOrCloses) {
    click("Switch Account");
    EXPECT_TRUE(content->isSwitchAccountPopoverPresented);
    EXPECT_TRUE(shows("Add Account"));
    click("Switch Account");
    EXPECT_FALSE(content->isSwitchAccountPopoverPresented);
    EXPECT_FALSE(shows("Add Account"));
    EXPECT_THAT(log(),
                ElementsAre("[State] refreshProfiles called", "[State] refreshProfiles called"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, switchesTheAccountAndClosesThePopover) {
    content->isMorePopoverPresented = true;
    click("tanaka.haru@example.org");
    EXPECT_THAT(log(), Contains("[State] switchProfile to home"));
    EXPECT_FALSE(content->isMorePopoverPresented);
}

TEST_F(QuoxelinMenuBarContentLoggedIn, doesNotSwitchToTheCurrentAccount) {
    content->isMorePopoverPresented = true;
    content->isHoveringMore = true;
    const auto shown = tree();
    testing::click(findRow(shown, "More")->popover->content, "haru@example.com");
    EXPECT_THAT(logAfterward(), IsEmpty());
    EXPECT_TRUE(content->isMorePopoverPresented);
}

TEST_F(QuoxelinMenuBarContentTests, logsInToTheChosenAccountWhenLoggedOut) {
    appState->profiles = {{"home", "tanaka.haru@example.org", 9, std::nullopt, false}};
    content->isSwitchAccountPopoverPresented = true;
    click("tanaka.haru@example.org");
    EXPECT_THAT(log(), Contains("[State] switchProfileAndLogin to home"));
    EXPECT_FALSE(content->isSwitchAccountPopoverPresented);
}

TEST_F(QuoxelinMenuBarContentTests, addsAnAccount) {
    content->isSwitchAccountPopoverPresented = true;
    click("Add Account");
    EXPECT_FALSE(content->isSwitchAccountPopoverPresented);
    EXPECT_THAT(log(), ElementsAre("[State] addNewAccount called"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, followsThePointerAcrossAccounts) {
    content->isMorePopoverPresented = true;
    hover("tanaka.haru@example.org", true);
    EXPECT_EQ(content->hoveringProfileId.get(), "home");
    EXPECT_TRUE(isHighlighted("tanaka.haru@example.org"));
    hover("tanaka.haru@example.org", false);
    EXPECT_EQ(content->hoveringProfileId.get(), std::nullopt);
    EXPECT_FALSE(isHighlighted("tanaka.haru@example.org"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, keepsTheHighlightWhenTheNextAccountIsEnteredFirst) {
    content->isMorePopoverPresented = true;
    const auto shown = tree();
    const auto& profiles = findRow(shown, "tanaka.haru@example.org");
    profiles->onHover(true);
    content->hoveringProfileId = "work";
    profiles->onHover(false);
    EXPECT_EQ(content->hoveringProfileId.get(), "work");
}

// Updates, "More" and quitting

TEST_F(QuoxelinMenuBarContentLoggedIn, checksForUpdatesWhenItCan) {
    system.updates.setCanCheckForUpdates(false);
    EXPECT_TRUE(findRow(tree(), "Check for Updates...")->disabled);
    system.updates.setCanCheckForUpdates(true);
    click("Check for Updates...");
    EXPECT_EQ(system.updates.requests(), 1);
}

TEST_F(QuoxelinMenuBarContentLoggedIn, opensAndClosesMore) {
    EXPECT_FALSE(shows("Logout"));
    click("More");
    EXPECT_TRUE(shows("Logout"));
    click("More");
    EXPECT_FALSE(shows("Logout"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, closesAPopoverWhenTheUserClicksElsewhere) {
    click("More");
    const auto shown = tree();
    findRow(shown, "More")->popover->onDismiss();
    EXPECT_FALSE(content->isMorePopoverPresented);

    appState->login = LoginViewState{};
    click("Switch Account");
    const auto loggedOut = tree();
    findRow(loggedOut, "Switch Account")->popover->onDismiss();
    EXPECT_FALSE(content->isSwitchAccountPopoverPresented);
}

TEST_F(QuoxelinMenuBarContentLoggedIn, doesNotReopenAPopoverAfterTheNextLogin) {
    click("More");
    click("Logout");
    EXPECT_THAT(log(), Contains("[State] logout called"));
    EXPECT_TRUE(shows("Login Quoxelin"));
    logIn();
    EXPECT_FALSE(shows("Logout"));
}

TEST_F(QuoxelinMenuBarContentTests, doesNotReopenTheListOfAccountsAfterTheNextLogout) {
    click("Switch Account");
    EXPECT_TRUE(shows("Add Account"));
    logIn();
    appState->login = LoginViewState{};
    EXPECT_TRUE(shows("Switch Account"));
    EXPECT_FALSE(shows("Add Account"));
}

TEST_F(QuoxelinMenuBarContentTests, tellsAccountsApartThatTheDaemonListsUnderOneId) {
    appState->profiles = {{"work", "one@example.com", 1, std::nullopt, false},
                          {"work", "two@example.com", 2, std::nullopt, false}};
    content->isSwitchAccountPopoverPresented = true;
    const auto shown = tree();
    EXPECT_EQ(findRow(shown, "one@example.com")->key, "work");
    EXPECT_NE(findRow(shown, "two@example.com")->key, "work");
}

TEST_F(QuoxelinMenuBarContentLoggedIn, keepsAPopoverOpenWhileDetailsOfTheAccountChange) {
    click("More");
    edit([](auto& login) { login.hostName = "another"; });
    EXPECT_TRUE(shows("Logout"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, opensTheProductsPages) {
    click("More");
    click("About");
    click("Docs");
    EXPECT_THAT(system.workspace.openedURLs(),
                ElementsAre("https://quoxelin.com/", "https://docs.quoxelin.com/"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, leavesTheProductsPagesOutOfAWhiteLabelBuildOnly) {
    click("More");
    auto& key = system.mainBundle.infoDictionary["QXConductorURL"];
    for (const auto* const ordinary : {"", "$(CONDUCTOR_URL)", "https://$(HOST)/"}) {
        key = ordinary;
        EXPECT_TRUE(shows("About") && shows("Docs")) << ordinary;
    }
    key = "https://conductor.example.net";
    EXPECT_FALSE(shows("About") || shows("Docs"));
    system.mainBundle.infoDictionary.erase("QXConductorURL");
    EXPECT_TRUE(shows("About") && shows("Docs"));
}

TEST_F(QuoxelinMenuBarContentLoggedIn, uninstallsOnlyAfterConfirmation) {
    click("More");
    click("Uninstall Quoxelin");
    const auto asked = tree();
    ASSERT_NE(asked.alert, nullptr);
    EXPECT_THAT(log(), IsEmpty());

    asked.alert->buttons.at(1).action();
    EXPECT_EQ(tree().alert, nullptr);
    EXPECT_THAT(logAfterward(), IsEmpty());

    click("Uninstall Quoxelin");
    tree().alert->buttons.at(0).action();
    EXPECT_EQ(tree().alert, nullptr);
    // The panel and the store say so, and both before the store's next line.
    click("Uninstall Quoxelin");
    tree().alert->buttons.at(0).action();
    const std::string called = "[State] uninstall called";
    EXPECT_THAT(log(), ElementsAre(called, called, called, called,
                                   "[State] Uninstall already in progress, skipping"));
    dispatch.advance(seconds(60));
    EXPECT_THAT(log(), Contains("[State] Uninstall completed"));
}

TEST_F(QuoxelinMenuBarContentTests, quits) {
    click("Quit Quoxelin");
    EXPECT_TRUE(system.application.isTerminating());
}

} // namespace quoxelin::testing
