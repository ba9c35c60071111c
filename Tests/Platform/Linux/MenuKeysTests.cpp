#include "Tests/Platform/Linux/PanelRows.h"

#include <QTest>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

std::vector<ViewNode> numberedRows(int count) {
    std::vector<ViewNode> all;
    for (int i = 0; i < count; ++i)
        all.push_back(view::keyed(std::to_string(i), rowOf("row " + std::to_string(i))));
    return all;
}

std::string focusedInTopCard(PanelOnScreen& panel) {
    auto* popover = panel.popover();
    const auto* card = popover != nullptr ? popover : &panel.window();
    return card->focusWidget() == nullptr ? ""
                                          : card->focusWidget()->accessibleName().toStdString();
}

void pressInTopCard(PanelOnScreen& panel, Qt::Key key) {
    auto* popover = panel.popover();
    auto* card = popover != nullptr ? popover : &panel.window();
    QTest::keyClick(card->focusWidget() != nullptr ? card->focusWidget() : card, key);
    runLoopUntilIdle();
}

} // namespace

TEST(MenuKeys, moveToTheEnds) {
    PanelOnScreen panel(columnOf(numberedRows(5)));
    pressInTopCard(panel, Qt::Key_End);
    EXPECT_EQ(focusedInTopCard(panel), "row 4");
    pressInTopCard(panel, Qt::Key_Home);
    EXPECT_EQ(focusedInTopCard(panel), "row 0");
}

TEST(MenuKeys, enterAtTheEndThatTheyComeFrom) {
    for (const auto& [key, expected] : {std::pair(Qt::Key_Down, "row 0"),
                                        {Qt::Key_Up, "row 4"},
                                        {Qt::Key_PageDown, "row 0"},
                                        {Qt::Key_PageUp, "row 4"}}) {
        PanelOnScreen panel(columnOf(numberedRows(5)));
        pressInTopCard(panel, key);
        EXPECT_EQ(focusedInTopCard(panel), expected);
    }
}

TEST(MenuKeys, keepTheFocusInView) {
    PanelOnScreen panel(columnOf(numberedRows(200)));
    std::string previous;
    for (const auto key : {Qt::Key_Up, Qt::Key_PageUp, Qt::Key_PageUp, Qt::Key_Home,
                           Qt::Key_PageDown, Qt::Key_End, Qt::Key_Down, Qt::Key_Up}) {
        pressInTopCard(panel, key);
        const auto focused = focusedInTopCard(panel);
        EXPECT_NE(focused, previous);
        EXPECT_TRUE(isInView(panel, focused)) << focused;
        previous = focused;
    }
}

TEST(MenuKeys, turnPagesWithoutLeavingOutARow) {
    PanelOnScreen panel(columnOf(numberedRows(200)));
    pressInTopCard(panel, Qt::Key_Home);
    for (std::string last = "row 0"; last != "row 199"; last = focusedInTopCard(panel)) {
        pressInTopCard(panel, Qt::Key_PageDown);
        EXPECT_TRUE(isInView(panel, last)) << last;
        ASSERT_NE(focusedInTopCard(panel), last);
    }
    pressInTopCard(panel, Qt::Key_PageUp);
    EXPECT_NE(focusedInTopCard(panel), "row 0");
    EXPECT_TRUE(isInView(panel, "row 199"));
}

class MenuKeysOfAPopover : public ::testing::Test {
  protected:
    ViewNode tree() {
        auto more = rowOf("More", [this] { isOpen = !isOpen; });
        more.hasPopover = true;
        if (isOpen) {
            Popover popover{columnOf({view::list(numberedRows(30), 4), rowOf("Logout")}),
                            [this] { isOpen = false; }};
            more.popover = std::make_shared<Popover>(popover);
        }
        return columnOf({rowOf("Connect"), more, rowOf("Quit")});
    }

    void act(PanelOnScreen& panel, Qt::Key key) {
        pressInTopCard(panel, key);
        panel.show(tree());
    }

    bool isOpen = false;
};

TEST_F(MenuKeysOfAPopover, openItToTheRightAndCloseItToTheLeft) {
    PanelOnScreen panel(tree());
    for (int i = 0; i < 2; ++i)
        act(panel, Qt::Key_Down);
    ASSERT_EQ(focusedInTopCard(panel), "More");
    act(panel, Qt::Key_Right);
    ASSERT_NE(panel.popover(), nullptr);
    act(panel, Qt::Key_Left);
    EXPECT_EQ(panel.popover(), nullptr);
    EXPECT_TRUE(panel.nsPanel().isVisible());
    EXPECT_EQ(focusedInTopCard(panel), "More");
}

TEST_F(MenuKeysOfAPopover, openNothingFromAnotherRow) {
    int connected = 0;
    PanelOnScreen panel(columnOf({rowOf("Connect", [&] { ++connected; })}));
    pressInTopCard(panel, Qt::Key_Down);
    pressInTopCard(panel, Qt::Key_Right);
    EXPECT_EQ(connected, 0);
}

TEST_F(MenuKeysOfAPopover, focusAtFirstUpARowThatCanBeSeen) {
    isOpen = true;
    PanelOnScreen panel(tree());
    pressInTopCard(panel, Qt::Key_Up);
    EXPECT_EQ(focusedInTopCard(panel), "Logout");
    EXPECT_TRUE(isInView(panel, "Logout"));
    pressInTopCard(panel, Qt::Key_Up);
    EXPECT_EQ(focusedInTopCard(panel), "row 29");
    EXPECT_TRUE(isInView(panel, "row 29"));
}

} // namespace quoxelin::testing
