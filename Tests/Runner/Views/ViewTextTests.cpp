#include "Tests/Support/ViewText.h"

#include "Runner/Views/MenuRowStyle.h"
#include "View/ViewBuilders.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(ViewText, leavesOutDefaults) {
    EXPECT_EQ(viewText(ViewNode{}), "column\n");
    EXPECT_EQ(viewText(view::text("", Font::body)), "text \"\" body\n");
    EXPECT_EQ(viewText(view::spacer()), "spacer\n");
    EXPECT_EQ(viewText(view::divider()), "divider\n");
}

TEST(ViewText, showsEveryVisibleAttributeOfAText) {
    auto node = view::text("Hello", Font::caption, Color::secondary, 0.65);
    node.weight = FontWeight::semibold;
    node.lineLimit = 1;
    node.padding = {8, 14, 2, 14.5};
    node.width = 260;
    node.height = 20;
    node.fillsWidth = true;
    node.alignment = Alignment::center;
    EXPECT_EQ(viewText(node),
              "text \"Hello\" caption semibold secondary opacity=0.65 lines=1 fills width=260 "
              "height=20 centered padding=8,14,2,14.5\n");
}

TEST(ViewText, keepsATextOnItsLine) {
    EXPECT_EQ(viewText(view::text("a\n\"b\" \\ 許可", Font::body)),
              "text \"a\\n\\\"b\\\" \\\\ 許可\" body\n");
}

TEST(ViewText, indentsChildren) {
    EXPECT_EQ(viewText(view::verticalStack(
                  {
                      view::horizontalStack({view::circle(Color::green, 8)}, 6),
                      view::symbol("plus", Font::footnote),
                  },
                  4)),
              "column spacing=4\n"
              "  line spacing=6\n"
              "    circle green width=8 height=8\n"
              "  symbol \"plus\" footnote\n");
}

TEST(ViewText, showsWhetherARowIsHighlightedOrDisabled) {
    ViewNode row;
    row.kind = ViewNode::Kind::row;
    row.accessibilityLabel = "Connect";
    bool hovering = false;
    const Binding<bool> binding{[&] { return hovering; }, [&](bool is) { hovering = is; }};
    EXPECT_EQ(viewText(menuRowStyle(row, binding)),
              "row fills padding=6,14,6,14 corner=6 hears \"Connect\"\n");
    menuRowStyle(row, binding).onHover(true);
    row.disabled = true;
    EXPECT_EQ(viewText(menuRowStyle(row, binding)),
              "row fills padding=6,14,6,14 corner=6 background=gray@0.12 disabled hears "
              "\"Connect\"\n");
}

TEST(ViewText, showsWhatIsPresentedBelowItsElement) {
    auto row = view::verticalStack({view::spacer()});
    row.popover = std::make_shared<const Popover>(Popover{view::divider(), nullptr});
    row.alert =
        std::make_shared<const Alert>(Alert{"Title",
                                            "Are you sure?",
                                            {{"Yes", Alert::Button::Role::destructive, nullptr},
                                             {"No", Alert::Button::Role::cancel, nullptr}}});
    EXPECT_EQ(viewText(row), "column\n"
                             "  spacer\n"
                             "  popover\n"
                             "    divider\n"
                             "  alert \"Title\"\n"
                             "    message \"Are you sure?\"\n"
                             "    button \"Yes\" destructive\n"
                             "    button \"No\" cancel\n");
}

TEST(ViewText, leavesOutIdentity) {
    EXPECT_EQ(viewText(view::keyed("key", view::spacer())), "spacer\n");
}

} // namespace quoxelin::testing
