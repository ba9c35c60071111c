#include "Tests/Support/Golden.h"
#include "Tests/Support/PanelStates.h"
#include "Tests/Support/ViewText.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace quoxelin::testing {

class PanelGolden : public ::testing::TestWithParam<PanelState> {};

TEST_P(PanelGolden, showsWhatTheGoldenFileSays) {
    const auto scene = GetParam().scene();
    EXPECT_TRUE(matchesGolden(GetParam().name, viewText(scene->tree())));
}

INSTANTIATE_TEST_SUITE_P(, PanelGolden, ::testing::ValuesIn(panelStates()), [](const auto& info) {
    auto name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(PanelStates, haveDistinctNames) {
    std::set<std::string> names;
    for (const auto& state : panelStates())
        EXPECT_TRUE(names.insert(state.name).second) << state.name;
}

namespace {

void expectAccessible(const ViewNode& node) {
    if (node.kind == ViewNode::Kind::row) {
        EXPECT_FALSE(node.accessibilityLabel.empty());
        EXPECT_TRUE(node.action);
    } else {
        EXPECT_FALSE(node.action);
        EXPECT_FALSE(node.onHover);
        EXPECT_FALSE(node.disabled);
    }
    for (const auto& child : node.children)
        expectAccessible(child);
    if (node.popover) {
        EXPECT_TRUE(node.popover->onDismiss);
        expectAccessible(node.popover->content);
    }
    if (node.alert) {
        for (const auto& button : node.alert->buttons)
            EXPECT_TRUE(button.action) << button.title;
    }
}

void expectKeysToDiffer(const ViewNode& node) {
    std::set<std::string> keys;
    for (const auto& child : node.children) {
        if (!child.key.empty()) {
            EXPECT_TRUE(keys.insert(child.key).second) << child.key;
        }
        expectKeysToDiffer(child);
    }
    if (node.popover)
        expectKeysToDiffer(node.popover->content);
}

} // namespace

TEST(PanelStates, giveEveryRowAnActionAndAnAccessibleLabel) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        expectAccessible(state.scene()->tree());
    }
}

TEST(PanelStates, giveNoTwoSiblingsTheSameIdentity) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        expectKeysToDiffer(state.scene()->tree());
    }
}

} // namespace quoxelin::testing
