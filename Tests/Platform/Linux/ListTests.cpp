#include "Platform/Linux/ListView.h"

#include "Tests/Platform/Linux/PanelRows.h"
#include "Tests/Support/PanelStates.h"

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

TEST(List, leavesItsRowsTheirWidth) {
    const auto scene = sceneWithAccounts(30);
    PanelOnScreen panel(scene->tree());
    EXPECT_EQ(panel.row("account 3")->width(), 260);
}

} // namespace quoxelin::testing
