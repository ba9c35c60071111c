#include "Platform/macOS/MacHostingView.h"
#include "Tests/Support/Golden.h"
#include "Tests/Support/PanelStates.h"
#include "Tests/Support/ViewText.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace quoxelin::testing {

class MacRendererGolden : public ::testing::TestWithParam<PanelState> {};

TEST_P(MacRendererGolden, showsWhatTheGoldenFileSays) {
    const auto scene = GetParam().scene();
    MacHostingView view;
    view.setRootView(scene->tree());
    EXPECT_TRUE(matchesGolden(GetParam().name, viewText(view.readBack())));
}

INSTANTIATE_TEST_SUITE_P(, MacRendererGolden, ::testing::ValuesIn(panelStates()),
                         [](const auto& info) {
                             auto name = info.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(MacRenderer, showsEveryStateWhateverItShowedBefore) {
    std::vector<ViewNode> trees;
    for (const auto& state : panelStates())
        trees.push_back(state.scene()->tree());
    MacHostingView view;
    // Steps of different lengths lead through all states in different orders.
    for (const std::size_t step : {1u, 5u, 11u, 24u})
        for (std::size_t i = 0; i < trees.size(); ++i) {
            const auto state = (i * step) % trees.size();
            SCOPED_TRACE(panelStates()[state].name);
            view.setRootView(trees[state]);
            ASSERT_EQ(viewText(view.readBack()), viewText(trees[state]));
        }
}

} // namespace quoxelin::testing
