#include "Simulation/System/SimulatedSystem.h"

#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SimulatedDesktop : public ::testing::Test {
  protected:
    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
};

namespace {

class Delegate final : public NSApplicationDelegate {
  public:
    void applicationDidFinishLaunching() override { told += "launched;"; }
    void applicationWillTerminate() override { told += "terminating;"; }
    std::string told;
};

} // namespace

TEST_F(SimulatedDesktop, runsAnApplicationFromLaunchToTermination) {
    Delegate delegate;
    int turns = 0;
    system.application.runLoop = [&] {
        if (++turns == 3)
            system.application.terminate();
        dispatch.runUntilIdle();
    };
    EXPECT_EQ(system.application.run(delegate), 0);
    EXPECT_EQ(delegate.told, "launched;terminating;");
    EXPECT_EQ(turns, 3);
}

TEST_F(SimulatedDesktop, terminatesAnApplicationOnceAndAfterThisTurn) {
    Delegate delegate;
    system.application.launch(delegate);
    system.application.terminate();
    system.application.terminate();
    EXPECT_EQ(delegate.told, "launched;");
    dispatch.runUntilIdle();
    EXPECT_EQ(delegate.told, "launched;terminating;");
    EXPECT_TRUE(system.application.hasTerminated());
}

TEST_F(SimulatedDesktop, tellsThatTheApplicationCameToTheFront) {
    int told = 0;
    const auto subscription = notificationCenter.addObserver(
        NSApplicationDidBecomeActiveNotification, [&](const auto&) { ++told; });
    system.application.activateIgnoringOtherApps();
    EXPECT_EQ(told, 0);
    dispatch.runUntilIdle();
    EXPECT_EQ(told, 1);
    system.application.activateIgnoringOtherApps();
    dispatch.runUntilIdle();
    EXPECT_EQ(told, 1);
    system.application.resignActive();
    system.application.becomeActive();
    EXPECT_EQ(told, 2);
}

TEST_F(SimulatedDesktop, choosesFromTheMainMenu) {
    std::string chosen;
    system.application.setMainMenu({{"Own", "", [&] { chosen += "own;"; }, "", 0},
                                    {"Hide", "hide:", nullptr, "h", 0},
                                    {"Quit", "terminate:", nullptr, "q", 0}});
    EXPECT_TRUE(system.application.chooseMenuItem("Own"));
    EXPECT_TRUE(system.application.chooseMenuItem("Hide"));
    EXPECT_FALSE(system.application.chooseMenuItem("Nothing"));
    EXPECT_EQ(chosen, "own;");
    EXPECT_EQ(system.application.performedActions(), std::vector<std::string>{"hide:"});
    EXPECT_TRUE(system.application.chooseMenuItem("Quit"));
    EXPECT_TRUE(system.application.isTerminating());
}

TEST_F(SimulatedDesktop, keepsAStatusItemInTheBarAsLongAsItLives) {
    auto item = system.statusBar.statusItemWithLength(NSSquareStatusItemLength);
    EXPECT_EQ(system.statusBar.lengths(), std::vector<double>{-2});
    item->button()->setTitle("QX");
    item->button()->setImage(system.statusBar.imageNamed("menu_icon"));
    EXPECT_EQ(system.statusBar.button()->title, "QX");
    EXPECT_EQ(system.statusBar.button()->image->name, "menu_icon");
    item->button()->setImage(nullptr);
    EXPECT_EQ(system.statusBar.button()->image, nullptr);
    EXPECT_EQ(system.statusBar.imageNamed("no such asset"), nullptr);
    item.reset();
    EXPECT_EQ(system.statusBar.button(), nullptr);
    system.statusBar.itemsHaveButtons = false;
    item = system.statusBar.statusItemWithLength(20);
    EXPECT_EQ(item->button(), nullptr);
}

TEST_F(SimulatedDesktop, tellsOnceThatAPanelWasHidden) {
    NSPanelOptions options;
    options.contentRect = {0, 0, 300, 400};
    const auto panel = system.panels.makePanel(options);
    int hidden = 0;
    panel->setDidOrderOut([&] { ++hidden; });
    panel->orderOut();
    EXPECT_EQ(hidden, 0);
    panel->makeKeyAndOrderFront();
    EXPECT_TRUE(system.panels.panel()->isKey());
    panel->orderOut();
    panel->orderOut();
    EXPECT_EQ(hidden, 1);
    EXPECT_EQ(panel->contentViewBounds(), (NSRect{0, 0, 300, 400}));
    system.panels.panel()->resize({10, 20});
    panel->setFrameOrigin(-1, 2);
    EXPECT_EQ(panel->frame(), (NSRect{-1, 2, 10, 20}));
}

TEST_F(SimulatedDesktop, showsTheLastTreeThatAPanelWasGiven) {
    system.panels.panelsHaveContentView = false;
    const auto panel = system.panels.makePanel({});
    EXPECT_EQ(panel->contentViewBounds(), std::nullopt);
    EXPECT_EQ(system.panels.panel()->tree(), nullptr);
    const auto hosting = system.panels.makeHostingView();
    NSVisualEffectView background;
    background.subview = hosting;
    panel->setContentView(background);
    EXPECT_EQ(system.panels.panel()->tree(), nullptr);
    ViewNode tree;
    tree.text = "first";
    hosting->setRootView(tree);
    tree.text = "second";
    hosting->setRootView(tree);
    EXPECT_EQ(system.panels.panel()->tree()->text, "second");
}

TEST_F(SimulatedDesktop, tellsAMonitorOnlyOfTheButtonsItAskedFor) {
    int pressed = 0;
    auto monitor =
        system.panels.addGlobalMonitorForEvents(NSEventMaskLeftMouseDown, [&] { ++pressed; });
    EXPECT_TRUE(system.panels.isMonitored());
    system.panels.pressElsewhere(NSEventMaskRightMouseDown);
    EXPECT_EQ(pressed, 0);
    system.panels.pressElsewhere();
    EXPECT_EQ(pressed, 1);
    monitor.cancel();
    EXPECT_FALSE(system.panels.isMonitored());
    system.panels.pressElsewhere();
    EXPECT_EQ(pressed, 1);
}

TEST_F(SimulatedDesktop, answersOpenPanelsInTheirOrder) {
    std::string answers;
    for (const auto* const name : {"a", "b"})
        system.openPanel.begin({}, [&, name](const auto& choice) {
            answers += name + (choice ? choice->string() : "-") + ';';
        });
    EXPECT_EQ(system.openPanel.shown(), 2u);
    EXPECT_TRUE(system.openPanel.choose("/tmp"));
    EXPECT_TRUE(system.openPanel.cancel());
    EXPECT_FALSE(system.openPanel.cancel());
    EXPECT_EQ(answers, "");
    dispatch.runUntilIdle();
    EXPECT_EQ(answers, "a/tmp;b-;");
}

TEST_F(SimulatedDesktop, keepsEventsUntilSomebodyTakesThem) {
    system.appleEventManager.sendGetURL("quoxelin://early");
    system.appleEventManager.send("aevt", "odoc", "file");
    std::vector<std::optional<std::string>> taken;
    system.appleEventManager.setEventHandler("GURL", "GURL",
                                             [&](const auto& url) { taken.push_back(url); });
    system.appleEventManager.sendGetURL(std::nullopt);
    EXPECT_EQ(taken, (std::vector<std::optional<std::string>>{"quoxelin://early", std::nullopt}));
}

TEST_F(SimulatedDesktop, opensWhatIsNotRefused) {
    auto& workspace = system.workspace;
    workspace.refuseURLs("x-apple.systempreferences:com.apple.Login");
    EXPECT_FALSE(workspace.open(
        *Url::parse("x-apple.systempreferences:com.apple.LoginItems-Settings.extension")));
    EXPECT_TRUE(workspace.open(*Url::parse("x-apple.systempreferences:com.apple.preference")));
    workspace.acceptAllURLs();
    workspace.refuseURLs("");
    EXPECT_FALSE(workspace.open(*Url::parse("https://a.example")));
    EXPECT_EQ(workspace.triedURLs().size(), 3u);
    EXPECT_EQ(workspace.openedURLs().size(), 1u);
    EXPECT_TRUE(workspace.urlForApplication("com.apple.SystemSettings").has_value());
    EXPECT_FALSE(workspace.urlForApplication("com.apple.systempreferences").has_value());
}

TEST_F(SimulatedDesktop, letsTheHelperBeLaunchedOnlyWhileItIsEnabled) {
    auto& helper = system.serviceManagement.daemonRegistration(simulatedHelperPlistName);
    const auto hasProxy = [&] {
        const auto connection = system.xpc.privilegedConnection("service");
        bool isThere = false;
        connection->remoteObjectProxyWithErrorHandler(
            [](const Error&) {}, [&](const auto& proxy) { isThere = proxy != nullptr; });
        return isThere;
    };
    helper.requireApproval();
    const auto refused = helper.registerService();
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error(), (Error{"SMAppServiceErrorDomain", 1, "Operation not permitted"}));
    EXPECT_FALSE(hasProxy());
    helper.approve();
    EXPECT_EQ(helper.status(), 1);
    EXPECT_TRUE(helper.registerService().has_value());
    EXPECT_TRUE(hasProxy());
    helper.revoke();
    EXPECT_EQ(helper.status(), 2);
    EXPECT_FALSE(hasProxy());
    EXPECT_TRUE(helper.unregisterService().has_value());
    EXPECT_FALSE(helper.unregisterService().has_value());
}

} // namespace quoxelin::testing
