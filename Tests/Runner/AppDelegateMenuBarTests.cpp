#include "Simulation/System/SimulatedPanels.h"
#include "Tests/Runner/AppDelegateFixture.h"
#include "Tests/Support/ViewSearch.h"

#include <tuple>

namespace quoxelin::testing {

using ::testing::ElementsAre;

class AppDelegateMenuBar : public AppDelegateFixture {
  protected:
    void launchAndSettle() {
        launch();
        run();
        forget();
    }

    const SimulatedStatusBar::Button& icon() { return *system.statusBar.button(); }

    static constexpr const char* missingIcon = "Menu bar icon asset not found: menu_icon";
};

class AppDelegateLaunchedMenuBar : public AppDelegateMenuBar {
  protected:
    AppDelegateLaunchedMenuBar() { launchAndSettle(); }
};

// The status item

TEST_F(AppDelegateMenuBar, putsASquareItemWithATemplateImageIntoTheBar) {
    launch();
    EXPECT_THAT(system.statusBar.lengths(), ElementsAre(-2.0));
    ASSERT_NE(icon().image, nullptr);
    EXPECT_EQ(icon().image->name, "menu_icon");
    EXPECT_TRUE(icon().image->isTemplate);
    EXPECT_EQ(icon().image->size, (NSSize{18, 18}));
    EXPECT_EQ(icon().title, "");
}

TEST_F(AppDelegateMenuBar, staysVisibleWithoutAnIcon) {
    system.statusBar.images.clear();
    launch();
    EXPECT_EQ(icon().image, nullptr);
    EXPECT_EQ(icon().title, "QX");
    EXPECT_EQ(count("App", missingIcon), 1);
    icon().click();
    icon().click();
    EXPECT_EQ(count("App", missingIcon), 3);
}

TEST_F(AppDelegateMenuBar, showsTheIconAgainOnceItExistsAgain) {
    system.statusBar.images.clear();
    launch();
    system.statusBar.images = {"menu_icon"};
    delegate->updateStatusItemIcon();
    EXPECT_NE(icon().image, nullptr);
    EXPECT_EQ(icon().title, "");
}

TEST_F(AppDelegateMenuBar, clearsAnIconThatNoLongerExists) {
    launch();
    system.statusBar.images.clear();
    bool wasShown = false;
    whenLogged(std::string("[App] ") + missingIcon, [&] { wasShown = icon().image != nullptr; });
    delegate->updateStatusItemIcon();
    EXPECT_TRUE(wasShown);
    EXPECT_EQ(icon().image, nullptr);
    EXPECT_EQ(icon().title, "QX");
}

TEST_F(AppDelegateMenuBar, worksWithoutAButton) {
    system.statusBar.itemsHaveButtons = false;
    launchAndSettle();
    delegate->updateStatusItemIcon();
    delegate->togglePopover();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(panel().frame(), (NSRect{-150, -405, 300, 400}));
    EXPECT_EQ(count("App", missingIcon), 0);
}

TEST_F(AppDelegateMenuBar, hasNoIconToUpdateBeforeItIsSetUp) {
    delegate->updateStatusItemIcon();
    EXPECT_EQ(log(), Lines{});
}

TEST_F(AppDelegateLaunchedMenuBar, keepsTheIconWhateverTheConnectionDoes) {
    const auto before = icon().image;
    appState->vpn = VpnViewState{VPNConnectionStatus::connected};
    run();
    EXPECT_EQ(icon().image, before);
}

TEST_F(AppDelegateMenuBar, tellsTheConnectionsStateInTheToolTip) {
    launch();
    EXPECT_EQ(icon().toolTip, "Quoxelin");
    run();
    LoginViewState login;
    login.isLoggedIn = true;
    appState->login = login;
    appState->vpn = VpnViewState{VPNConnectionStatus::connected};
    dispatch.runUntilIdle();
    EXPECT_EQ(icon().toolTip, "Quoxelin: Connected");
    login.jailedReason = "disk not encrypted";
    appState->login = login;
    dispatch.runUntilIdle();
    EXPECT_EQ(icon().toolTip, "Quoxelin: Blocked by Device Policy");
    EXPECT_EQ(icon().toolTipsSet, 3);
    appState->currentProfileId = "other";
    dispatch.runUntilIdle();
    EXPECT_EQ(icon().toolTipsSet, 3);
}

// The panel

TEST_F(AppDelegateMenuBar, makesABorderlessFloatingPanel) {
    launch();
    const auto& options = panel().options();
    EXPECT_EQ(options.contentRect, (NSRect{0, 0, 300, 400}));
    EXPECT_EQ(options.styleMask, 32896u);
    EXPECT_EQ(options.backing, NSBackingStoreBuffered);
    EXPECT_FALSE(options.defer);
    EXPECT_TRUE(options.clearBackground);
    EXPECT_FALSE(options.opaque);
    EXPECT_TRUE(options.hasShadow);
    EXPECT_EQ(options.level, 3);
    EXPECT_EQ(options.title, "Quoxelin");
    EXPECT_TRUE(options.titleHidden);
    EXPECT_TRUE(options.titlebarAppearsTransparent);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(AppDelegateMenuBar, fillsThePanelWithATranslucentBackground) {
    launch();
    ASSERT_TRUE(panel().contentView().has_value());
    const auto& view = *panel().contentView();
    EXPECT_EQ(view.frame, (NSRect{0, 0, 300, 400}));
    EXPECT_EQ(view.autoresizingMask, 18u);
    EXPECT_EQ(view.material, 6);
    EXPECT_EQ(view.blendingMode, 0);
    EXPECT_EQ(view.state, 1);
    EXPECT_TRUE(view.wantsLayer);
    EXPECT_EQ(view.cornerRadius, 10);
    EXPECT_TRUE(view.masksToBounds);
    ASSERT_NE(panel().tree(), nullptr);
    EXPECT_NE(findRow(*panel().tree(), "Login Quoxelin"), nullptr);
}

TEST_F(AppDelegateMenuBar, fillsAPanelThatHasNoContentViewYet) {
    system.panels.panelsHaveContentView = false;
    launch();
    EXPECT_EQ(panel().contentView()->frame, NSRect{});
}

TEST_F(AppDelegateLaunchedMenuBar, updatesThePanelWithTheState) {
    LoginViewState login;
    login.isLoggedIn = true;
    appState->login = login;
    EXPECT_EQ(findText(*panel().tree(), "Signed in"), nullptr);
    run();
    EXPECT_NE(findText(*panel().tree(), "Signed in"), nullptr);
}

TEST_F(AppDelegateMenuBar, letsThePanelsUpdateRowFollowTheUpdater) {
    LoginViewState login;
    login.isLoggedIn = true;
    appState->login = login;
    launchAndSettle();
    EXPECT_FALSE(findRow(*panel().tree(), "Check for Updates...")->disabled);
    system.updates.setCanCheckForUpdates(false);
    run();
    EXPECT_TRUE(findRow(*panel().tree(), "Check for Updates...")->disabled);
    system.updates.setCanCheckForUpdates(true);
    run();
    EXPECT_FALSE(findRow(*panel().tree(), "Check for Updates...")->disabled);
}

TEST_F(AppDelegateMenuBar, showsThePanelCenteredUnderTheIcon) {
    system.statusBar.buttonFrame = NSRect{1200, 876, 25, 24};
    launchAndSettle();
    panel().resize({260, 333});
    icon().click();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_TRUE(panel().isKey());
    EXPECT_EQ(panel().frame(), (NSRect{1082.5, 538, 260, 333}));
    EXPECT_EQ(system.application.activations(), 1);
}

TEST_F(AppDelegateLaunchedMenuBar, activatesTheApplicationBeforeItShowsThePanel) {
    std::vector<int> activations;
    system.panels.willOrderFront = [&] {
        activations.push_back(system.application.activations());
        // The question whether notifications are allowed comes after the panel.
        EXPECT_EQ(system.userNotificationCenter.authorizationRequests().size(), 1u);
    };
    icon().click();
    EXPECT_EQ(activations, std::vector{1});
    system.panels.willOrderFront = nullptr;
}

TEST_F(AppDelegateLaunchedMenuBar, togglesThePanelAndFollowsTheIcon) {
    icon().click();
    EXPECT_TRUE(panel().isVisible());
    icon().click();
    EXPECT_FALSE(panel().isVisible());
    system.statusBar.button()->frame = NSRect{600, 876, 24, 24};
    icon().click();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(panel().frame(), (NSRect{462, 471, 300, 400}));
}

TEST_F(AppDelegateMenuBar, placesThePanelIfTheIconsPlaceIsUnknown) {
    system.statusBar.buttonFrame = std::nullopt;
    launchAndSettle();
    delegate->showWindow();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(panel().frame(), (NSRect{-150, -405, 300, 400}));
}

TEST_F(AppDelegateLaunchedMenuBar, hidesThePanelWhenTheUserClicksElsewhere) {
    icon().click();
    system.panels.pressElsewhere(NSEventMaskLeftMouseDown);
    EXPECT_FALSE(panel().isVisible());
    icon().click();
    system.panels.pressElsewhere(NSEventMaskRightMouseDown);
    EXPECT_FALSE(panel().isVisible());
    system.panels.pressElsewhere();
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(AppDelegateLaunchedMenuBar, ignoresOtherMouseButtons) {
    icon().click();
    system.panels.pressElsewhere(1ULL << 25);
    EXPECT_TRUE(panel().isVisible());
}

TEST_F(AppDelegateLaunchedMenuBar, keepsThePanelWhenTheUserClicksInIt) {
    icon().click();
    click(*panel().tree(), "Switch Account");
    run();
    EXPECT_TRUE(panel().isVisible());
}

TEST_F(AppDelegateLaunchedMenuBar, closesPopoversWhenThePanelHides) {
    icon().click();
    click(*panel().tree(), "Switch Account");
    run();
    EXPECT_NE(findRow(*panel().tree(), "Add Account"), nullptr);
    system.panels.pressElsewhere();
    run();
    EXPECT_EQ(findRow(*panel().tree(), "Add Account"), nullptr);
}

TEST_F(AppDelegateLaunchedMenuBar, asksForNotificationsWhenThePanelIsFirstShown) {
    EXPECT_EQ(system.userNotificationCenter.authorizationRequests().size(), 1u);
    icon().click();
    EXPECT_THAT(system.userNotificationCenter.authorizationRequests(), ElementsAre(7u, 7u));
    icon().click();
    icon().click();
    EXPECT_EQ(system.userNotificationCenter.authorizationRequests().size(), 2u);
}

TEST_F(AppDelegateLaunchedMenuBar, keepsOnePanel) {
    const auto* const first = system.panels.panel();
    icon().click();
    icon().click();
    icon().click();
    EXPECT_EQ(system.panels.panel(), first);
    delegate.reset();
    EXPECT_EQ(system.panels.panel(), nullptr);
    EXPECT_EQ(system.statusBar.button(), nullptr);
    EXPECT_FALSE(system.panels.isMonitored());
}

TEST_F(AppDelegateLaunchedMenuBar, worksOnTheMainThreadWhereverItIsCalled) {
    const auto fromAnotherThread = [&](void (AppDelegate::*call)()) {
        dispatch.global(QualityOfService::standard).async([&, call] { ((*delegate).*call)(); });
        run();
    };
    ASSERT_FALSE(panel().isVisible());
    fromAnotherThread(&AppDelegate::showWindow);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(system.application.activations(), 1);
    system.statusBar.images.clear();
    fromAnotherThread(&AppDelegate::updateStatusItemIcon);
    EXPECT_EQ(icon().title, "QX");
    EXPECT_EQ(count("App", missingIcon), 1);
    fromAnotherThread(&AppDelegate::togglePopover);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(AppDelegateMenuBar, cannotShowAPanelThatWasNeverMade) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fault = "programming fault: overlayWindow is used before";
    EXPECT_DEATH(delegate->showWindow(), fault);
    EXPECT_DEATH(delegate->togglePopover(), fault);
    EXPECT_DEATH(delegate->handleIncomingURL(*Url::parse("quoxelin://auth?token=abc")), fault);
}

// The main menu

TEST_F(AppDelegateMenuBar, hasTheMenuOfEveryApplication) {
    system.processInfo.name = "Quoxelin Debug";
    launch();
    using Item = std::tuple<std::string, std::string, std::string, unsigned long>;
    std::vector<Item> items;
    for (const auto& item : system.application.mainMenu())
        items.emplace_back(item.title, item.action, item.keyEquivalent,
                           item.keyEquivalentModifierMask);
    constexpr unsigned long command = 0x100000;
    const std::vector<Item> expected{
        {"About Quoxelin Debug", "orderFrontStandardAboutPanel:", "", command},
        {"Check for Updates...", "checkForUpdates:", "", command},
        {"", "", "", command},
        {"Hide Quoxelin Debug", "hide:", "h", command},
        {"Hide Others", "hideOtherApplications:", "h", 0x180000},
        {"Show All", "unhideAllApplications:", "", command},
        {"", "", "", command},
        {"Quit Quoxelin Debug", "terminate:", "q", command},
    };
    EXPECT_EQ(items, expected);
}

TEST_F(AppDelegateLaunchedMenuBar, enablesTheMenusUpdateItemWhileTheUpdaterCanCheck) {
    const auto item = system.application.mainMenu().at(1);
    ASSERT_EQ(item.title, "Check for Updates...");
    EXPECT_TRUE(item.isEnabled());
    system.updates.setCanCheckForUpdates(false);
    EXPECT_FALSE(item.isEnabled());
    system.updates.setCanCheckForUpdates(true);
    delegate.reset();
    EXPECT_FALSE(item.isEnabled());
}

TEST_F(AppDelegateMenuBar, checksForUpdatesFromTheMenu) {
    launch();
    EXPECT_TRUE(system.application.chooseMenuItem("Check for Updates..."));
    EXPECT_EQ(system.updates.requests(), 1);
    delegate.reset();
    EXPECT_TRUE(system.application.chooseMenuItem("Check for Updates..."));
    EXPECT_EQ(system.updates.requests(), 1);
}

} // namespace quoxelin::testing
