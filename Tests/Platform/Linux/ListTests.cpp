#include "Platform/Linux/ListView.h"

#include "Tests/Platform/Linux/PanelRows.h"
#include "Tests/Support/PanelStates.h"

#include <QScrollArea>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

std::unique_ptr<PanelScene> sceneWithAccounts(int count) {
    auto scene = std::make_unique<PanelScene>();
    scene->logIn();
    scene->content->isMorePopoverPresented = true;
    std::vector<ProfileInfo> profiles;
    for (int i = 0; i < count; ++i)
        profiles.push_back(
            {"id-" + std::to_string(i), "account " + std::to_string(i), i, std::nullopt, i == 0});
    scene->appState->profiles = profiles;
    return scene;
}

ListView& listIn(QWidget& card) {
    for (auto* widget : card.findChildren<QWidget*>())
        if (auto* list = dynamic_cast<ListView*>(widget); list && list->window() == &card)
            return *list;
    throw std::logic_error("no list");
}

int accountsInView(PanelOnScreen& panel) {
    int inView = 0;
    for (const auto* row : listIn(*panel.popover()).findChildren<QAbstractButton*>())
        inView += row->visibleRegion().boundingRect() == row->rect();
    return inView;
}

bool listScrolls(PanelOnScreen& panel) {
    return listIn(*panel.popover()).findChild<QScrollArea*>()->verticalScrollBar()->maximum() > 0;
}

} // namespace

TEST(List, growsAndShrinksWithTheAccounts) {
    const auto scene = sceneWithAccounts(2);
    PanelOnScreen panel(scene->tree());
    const auto heightOf = [&](int count) {
        panel.show(sceneWithAccounts(count)->tree());
        runLoopUntilLaidOut();
        return listIn(*panel.popover()).height();
    };
    const auto two = heightOf(2);
    const auto ten = heightOf(10);
    EXPECT_GT(ten, two);
    EXPECT_EQ(heightOf(30), ten);
    EXPECT_EQ(heightOf(2), two);
}

TEST(List, showsTenRowsAtOnceAndAllThatStandsBelow) {
    for (const bool isSwitcher : {false, true})
        for (const int count : {9, 10, 11, 200}) {
            SCOPED_TRACE(std::to_string(count) + (isSwitcher ? " to switch" : " in the menu"));
            const auto scene = sceneWithAccounts(count);
            scene->edit([=](LoginViewState& login) { login.isLoggedIn = !isSwitcher; });
            scene->content->isSwitchAccountPopoverPresented = isSwitcher;
            PanelOnScreen panel(scene->tree());
            runLoopUntilLaidOut();
            EXPECT_EQ(accountsInView(panel), std::min(count, 10));
            EXPECT_EQ(listScrolls(panel), count > 10);
            const auto rows = isSwitcher ? std::vector<std::string>{"Add Account"}
                                         : std::vector<std::string>{"Logout", "Uninstall Quoxelin"};
            for (const auto& label : rows)
                EXPECT_TRUE(isInView(panel, label)) << label;
        }
}

TEST(List, leavesItsRowsTheirWidth) {
    const auto scene = sceneWithAccounts(30);
    PanelOnScreen panel(scene->tree());
    EXPECT_EQ(panel.row("account 3")->width(), 260);
}

} // namespace quoxelin::testing
