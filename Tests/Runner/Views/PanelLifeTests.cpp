#include "Runner/Views/MenuBar.h"
#include "Tests/Runner/Views/PanelFixture.h"
#include "Tests/Support/PanelStates.h"

#include <gmock/gmock.h>
#include <set>
#include <utility>

namespace quoxelin::testing {

using ::testing::IsEmpty;

class PanelLife : public PanelFixture {};

// Hovering

TEST_F(PanelLife, highlightsTheRowUnderThePointer) {
    logIn();
    content->isMorePopoverPresented = true;
    const std::vector<std::pair<std::string, const Published<bool>*>> rows{
        {"Disconnect", &content->isHoveringConnect},
        {"DNS: harus-laptop", &content->isHoveringDNS},
        {"Quoxelin IPv4: 100.64.0.4", &content->isHoveringIPv4},
        {"Quoxelin IPv6: fd7a::4", &content->isHoveringIPv6},
        {"Check for Updates...", &content->isHoveringCheckUpdate},
        {"More", &content->isHoveringMore},
        {"Logout", &content->isHoveringLogout},
        {"About", &content->isHoveringAbout},
        {"Docs", &content->isHoveringDocs},
        {"Export Logs", &content->isHoveringExportLogs},
        {"Uninstall Quoxelin", &content->isHoveringUninstall},
        {"Quit Quoxelin", &content->isHoveringQuit},
    };
    for (const auto& [text, flag] : rows) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(isHighlighted(text));
        hover(text, true);
        EXPECT_TRUE(flag->get());
        EXPECT_TRUE(isHighlighted(text));
        hover(text, false);
        EXPECT_FALSE(flag->get());
        EXPECT_FALSE(isHighlighted(text));
    }
}

TEST_F(PanelLife, highlightsTheRowUnderThePointerWhenLoggedOut) {
    hover("Login Quoxelin", true);
    EXPECT_TRUE(content->isHoveringLogin);
    EXPECT_TRUE(isHighlighted("Login Quoxelin"));
    hover("Switch Account", true);
    EXPECT_TRUE(content->isHoveringSwitchAccount);
    content->isSwitchAccountPopoverPresented = true;
    hover("Add Account", true);
    EXPECT_TRUE(content->isHoveringAddAccount);
    EXPECT_TRUE(isHighlighted("Add Account"));
}

// The panel around the content

TEST_F(PanelLife, opensNothingByItself) {
    logIn();
    content = std::make_shared<QuoxelinMenuBarContent>(
        QuoxelinMenuBarContent::Dependencies{dispatch, logger, localAPI, system.workspace,
                                             system.pasteboard, system.openPanel, system.mainBundle,
                                             system.processInfo, system.userNotificationCenter,
                                             system.application},
        appState, updaterVM, systemExtension);
    EXPECT_EQ(find(tree(),
                   [](const ViewNode& node) {
                       return node.popover || node.alert || node.background != Color::clear;
                   }),
              nullptr);
}

TEST_F(PanelLife, closesWhatIsOpenWhenThePanelHides) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto scene = state.scene();
        scene->content->panelDidHide();
        const auto shown = scene->tree();
        EXPECT_EQ(find(shown,
                       [](const ViewNode& node) {
                           return node.popover || node.alert || node.background != Color::clear;
                       }),
                  nullptr);
    }
}

TEST_F(PanelLife, forgetsTheAccountUnderThePointerWhenThePanelHides) {
    logIn();
    content->isMorePopoverPresented = true;
    hover("tanaka.haru@example.org", true);
    content->panelDidHide();
    content->isMorePopoverPresented = true;
    EXPECT_FALSE(isHighlighted("tanaka.haru@example.org"));
}

namespace {

/// The columns of the tree and its popovers whose elements come and go.
void collectColumns(const ViewNode& node, std::vector<const ViewNode*>& columns) {
    columns.push_back(&node);
    for (const auto& child : node.children)
        if (child.popover)
            collectColumns(child.popover->content, columns);
}

} // namespace

TEST_F(PanelLife, namesTheElementsOfItsColumnsSoThatEachIsRecognizedWhenOthersComeAndGo) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto scene = state.scene();
        const auto shown = scene->tree();
        std::vector<const ViewNode*> columns;
        collectColumns(shown, columns);
        for (const auto* const column : columns) {
            std::set<std::string> names;
            for (const auto& element : column->children)
                EXPECT_TRUE(!element.key.empty() && names.insert(element.key).second)
                    << element.key;
        }
    }
}

TEST_F(PanelLife, changesNothingWhileItIsShown) {
    logIn();
    int changes = 0;
    const auto token = content->objectWillChange([&] { ++changes; });
    (void)tree();
    EXPECT_EQ(changes, 0);
}

namespace {

void doEverything(const ViewNode& node) {
    if (node.action)
        node.action();
    if (node.onHover)
        node.onHover(true);
    for (const auto& child : node.children)
        doEverything(child);
    if (node.popover) {
        doEverything(node.popover->content);
        node.popover->onDismiss();
    }
    if (node.alert)
        for (const auto& button : node.alert->buttons)
            button.action();
}

} // namespace

TEST_F(PanelLife, leavesATreeThatDoesNothingAfterDestruction) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto scene = state.scene();
        const auto shown = scene->tree();
        scene->content.reset();
        scene->system.systemLog.clear();
        doEverything(shown);
        scene->dispatch.runUntilIdle();
        EXPECT_THAT(scene->log(), IsEmpty());
        EXPECT_THAT(scene->daemon.requestLines(), IsEmpty());
        EXPECT_THAT(scene->system.workspace.triedURLs(), IsEmpty());
        EXPECT_EQ(scene->system.openPanel.shown(), 0u);
        EXPECT_FALSE(scene->system.application.isTerminating());
    }
}

TEST_F(PanelLife, ignoresARebootThatTheExtensionReportsAfterDestruction) {
    const auto reported = systemExtension->onWillCompleteAfterReboot;
    ASSERT_TRUE(reported);
    content.reset();
    reported();
    EXPECT_THAT(logAfterward(), IsEmpty());
}

TEST_F(PanelLife, survivesEveryActionOfEveryState) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto scene = state.scene();
        doEverything(scene->tree());
        scene->dispatch.advance(seconds(10));
        EXPECT_TRUE(scene->system.application.isTerminating());
    }
}

TEST_F(PanelLife, requiresTheObjectsThatItShows) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const QuoxelinMenuBarContent::Dependencies dependencies{dispatch,
                                                            logger,
                                                            localAPI,
                                                            system.workspace,
                                                            system.pasteboard,
                                                            system.openPanel,
                                                            system.mainBundle,
                                                            system.processInfo,
                                                            system.userNotificationCenter,
                                                            system.application};
    EXPECT_EQ(dependencies.daemonLogPath, "/var/log/quoxelind/client.log");
    const auto fault = "programming fault: the panel's content needs the objects that it shows";
    EXPECT_DEATH(MenuBar(dependencies, nullptr, updaterVM, systemExtension), fault);
    EXPECT_DEATH(MenuBar(dependencies, appState, nullptr, systemExtension), fault);
    EXPECT_DEATH(MenuBar(dependencies, appState, updaterVM, nullptr), fault);
}

} // namespace quoxelin::testing
