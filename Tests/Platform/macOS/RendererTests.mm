#include "Platform/macOS/LeafViews.h"
#include "Platform/macOS/MacDesktop.h"
#include "Platform/macOS/MacHostingView.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
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

TEST(MacRenderer, showsEveryStateAfterEveryOther) {
    std::vector<ViewNode> trees;
    for (const auto& state : panelStates())
        trees.push_back(state.scene()->tree());
    MacHostingView view;
    // Different step sizes visit all states in different orders.
    for (const std::size_t step : {1u, 5u, 11u, 24u})
        for (std::size_t i = 0; i < trees.size(); ++i) {
            const auto state = (i * step) % trees.size();
            SCOPED_TRACE(panelStates()[state].name);
            view.setRootView(trees[state]);
            ASSERT_EQ(viewText(view.readBack()), viewText(trees[state]));
        }
}

namespace {

template <typename View> View* first(NSView* view) {
    if ([view isKindOfClass:[View class]])
        return static_cast<View*>(view);
    for (NSView* each in view.subviews)
        if (View* const found = first<View>(each))
            return found;
    return nil;
}

QXLabel* labelOf(MacHostingView& view, const ViewNode& text) {
    view.setRootView(text);
    view.view.frame = NSMakeRect(0, 0, 200, 40);
    [view.view layoutSubtreeIfNeeded];
    return first<QXLabel>(view.view);
}

ViewNode headline(FontWeight weight) {
    ViewNode text;
    text.kind = ViewNode::Kind::text;
    text.text = "Account";
    text.font = Font::headline;
    text.weight = weight;
    text.padding = {6, 14, 6, 14};
    return text;
}

void collect(NSView* view, std::vector<QXLabel*>& labels) {
    if ([view isKindOfClass:[QXLabel class]])
        labels.push_back(static_cast<QXLabel*>(view));
    for (NSView* each in view.subviews)
        collect(each, labels);
}

bool isBold(NSFont* font) {
    return ([[NSFontManager sharedFontManager] traitsOfFont:font] & NSBoldFontMask) != 0;
}

} // namespace

TEST(MacRenderer, drawsAHeadlineInTheGivenWeight) {
    MacHostingView view;
    EXPECT_FALSE(isBold(labelOf(view, headline(FontWeight::regular)).font));
    EXPECT_TRUE(isBold(labelOf(view, headline(FontWeight::semibold)).font));
}

TEST(MacRenderer, putsTextWhereItsPaddingEnds) {
    MacHostingView view;
    QXLabel* const label = labelOf(view, headline(FontWeight::regular));
    ASSERT_NE(label, nil);
    EXPECT_EQ([label alignmentRectForFrame:label.frame].origin.x, 14);
    EXPECT_LT(label.frame.origin.x, 14);
}

TEST(MacRenderer, hasRoomForEveryTextInEveryState) {
    MacDesktop desktop{LaunchOptions{}};
    int checked = 0;
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto scene = state.scene();
        PanelOnScreen onScreen(desktop.panels, scene->tree());
        onScreen.panel->makeKeyAndOrderFront();
        std::vector<QXLabel*> labels;
        for (NSWindow* window in NSApp.windows)
            if (window.visible)
                collect(window.contentView, labels);
        for (QXLabel* label : labels) {
            // A cut text has a tool tip.
            if (label.superview.toolTip != nil || label.stringValue.length == 0)
                continue;
            const auto room = label.frame.size;
            const auto needed =
                [label.cell cellSizeForBounds:NSMakeRect(0, 0, room.width, CGFLOAT_MAX)];
            EXPECT_LE(needed.height, room.height + 1) << label.wholeText.UTF8String;
            ++checked;
        }
    }
    EXPECT_GT(checked, 400);
}

} // namespace quoxelin::testing
