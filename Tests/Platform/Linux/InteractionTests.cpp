#include "Platform/Linux/AlertBox.h"
#include "Tests/Platform/Linux/PanelRows.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

ViewNode text(const std::string& words) {
    ViewNode node;
    node.kind = ViewNode::Kind::text;
    node.text = words;
    return node;
}

QString focusedRow() {
    const auto* widget = QApplication::focusWidget();
    return widget == nullptr ? QString() : widget->accessibleName();
}

void press(PanelOnScreen& panel, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    auto* target = QApplication::focusWidget();
    QTest::keyClick(target != nullptr ? target : &panel.window(), key, modifiers);
    runLoopUntilIdle();
}

void moveOver(QWidget& widget) {
    QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
    QApplication::sendEvent(&widget, &enter);
}

} // namespace

TEST(Interaction, actsOnAClick) {
    int clicks = 0;
    PanelOnScreen panel(columnOf({rowOf("Connect", [&] { ++clicks; })}));
    QTest::mouseClick(panel.row("Connect"), Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
    QTest::mouseClick(panel.row("Connect"), Qt::RightButton);
    EXPECT_EQ(clicks, 1);
}

TEST(Interaction, actsOnAClickOnTheTextOfARow) {
    int clicks = 0;
    PanelOnScreen panel(columnOf({rowOf("Connect", [&] { ++clicks; })}));
    auto* label = panel.row("Connect")->findChild<QLabel*>();
    const auto place = label->mapTo(&panel.window(), label->rect().center());
    QTest::mouseClick(panel.window().windowHandle(), Qt::LeftButton, {}, place);
    EXPECT_EQ(clicks, 1);
}

TEST(Interaction, actsOnTheLatestTree) {
    std::string acted;
    PanelOnScreen panel(columnOf({rowOf("Connect", [&] { acted += "old"; })}));
    panel.show(columnOf({rowOf("Connect", [&] { acted += "new"; })}));
    QTest::mouseClick(panel.row("Connect"), Qt::LeftButton);
    EXPECT_EQ(acted, "new");
}

TEST(Interaction, survivesAnActionThatRemovesItsOwnRow) {
    std::unique_ptr<PanelOnScreen> panel;
    panel = std::make_unique<PanelOnScreen>(
        columnOf({rowOf("Logout", [&] { panel->show(columnOf({text("gone")})); })}));
    auto* button = panel->row("Logout");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Return);
    EXPECT_EQ(panel->row("Logout"), nullptr);
}

TEST(Interaction, doesNothingOnADisabledRow) {
    auto disabled = rowOf("Check for Updates...", [] { FAIL(); });
    disabled.disabled = true;
    PanelOnScreen panel(columnOf({disabled, rowOf("Quit")}));
    QTest::mouseClick(panel.row("Check for Updates..."), Qt::LeftButton);
    press(panel, Qt::Key_Tab);
    EXPECT_EQ(focusedRow(), "Quit");
}

TEST(Interaction, marksNoRowBeforeTheKeyboardIsUsed) {
    PanelOnScreen panel(columnOf({rowOf("a"), rowOf("b")}));
    EXPECT_EQ(focusedRow(), "");
}

TEST(Interaction, walksTheRowsByTabAndArrows) {
    PanelOnScreen panel(columnOf({rowOf("a"), columnOf({rowOf("b")}), text("-"), rowOf("c")}));
    press(panel, Qt::Key_Tab);
    EXPECT_EQ(focusedRow(), "a");
    press(panel, Qt::Key_Down);
    EXPECT_EQ(focusedRow(), "b");
    press(panel, Qt::Key_Tab);
    EXPECT_EQ(focusedRow(), "c");
    press(panel, Qt::Key_Down);
    EXPECT_EQ(focusedRow(), "a");
    press(panel, Qt::Key_Up);
    EXPECT_EQ(focusedRow(), "c");
    press(panel, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focusedRow(), "b");
}

TEST(Interaction, walksInsertedRowsInReadingOrder) {
    PanelOnScreen panel(columnOf({rowOf("a"), rowOf("c")}));
    auto keyed = rowOf("b");
    keyed.key = "b";
    panel.show(columnOf({rowOf("a"), keyed, rowOf("c")}));
    std::string order;
    for (int i = 0; i < 3; ++i) {
        press(panel, Qt::Key_Down);
        order += focusedRow().toStdString();
    }
    EXPECT_EQ(order, "abc");
}

TEST(Interaction, actsOnReturnEnterAndSpace) {
    int acted = 0;
    PanelOnScreen panel(columnOf({rowOf("Connect", [&] { ++acted; })}));
    press(panel, Qt::Key_Down);
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
        press(panel, key);
    EXPECT_EQ(acted, 3);
}

TEST(Interaction, closesThePanelOnEscape) {
    PanelOnScreen panel(columnOf({rowOf("a")}));
    int closed = 0;
    panel.nsPanel().setDidOrderOut([&] { ++closed; });
    press(panel, Qt::Key_Down);
    press(panel, Qt::Key_Escape);
    EXPECT_FALSE(panel.nsPanel().isVisible());
    EXPECT_EQ(closed, 1);
    panel.nsPanel().orderOut();
    EXPECT_EQ(closed, 1);
}

TEST(Interaction, reportsThePointerEnteringAndLeaving) {
    std::vector<bool> told;
    auto hovered = rowOf("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(columnOf({hovered}));
    moveOver(*panel.row("a"));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(panel.row("a"), &leave);
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST(Interaction, reportsThatThePointerLeftWhenTheRowOrThePanelDisappears) {
    std::vector<bool> told;
    auto hovered = rowOf("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(columnOf({hovered}));
    moveOver(*panel.row("a"));
    panel.show(columnOf({}));
    EXPECT_EQ(told, (std::vector{true, false}));
    panel.show(columnOf({hovered}));
    moveOver(*panel.row("a"));
    panel.nsPanel().orderOut();
    EXPECT_EQ(told, (std::vector{true, false, true, false}));
}

TEST(Interaction, keepsHoverAndFocusThroughAnUpdate) {
    std::vector<bool> told;
    auto hovered = rowOf("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(columnOf({hovered, rowOf("b")}));
    auto* widget = panel.row("a");
    moveOver(*widget);
    press(panel, Qt::Key_Down);
    hovered.background = Color::gray;
    hovered.backgroundOpacity = 0.12;
    hovered.children = {text("another text")};
    panel.show(columnOf({hovered, rowOf("b")}));
    EXPECT_EQ(panel.row("a"), widget);
    EXPECT_TRUE(widget->hasFocus());
    EXPECT_EQ(told, std::vector{true});
}

TEST(Interaction, followsAKeyedRowToAnotherPlace) {
    auto a = rowOf("a"), b = rowOf("b");
    a.key = "1";
    b.key = "2";
    PanelOnScreen panel(columnOf({a, b}));
    auto* widget = panel.row("b");
    press(panel, Qt::Key_Up);
    ASSERT_TRUE(widget->hasFocus());
    panel.show(columnOf({b, a}));
    EXPECT_EQ(panel.row("b"), widget);
    EXPECT_TRUE(widget->hasFocus());
    EXPECT_LT(panel.row("b")->mapToGlobal(QPoint()).y(), panel.row("a")->mapToGlobal(QPoint()).y());
}

class PopoverInteraction : public ::testing::Test {
  protected:
    ViewNode tree(std::vector<ViewNode> rows) {
        auto more = rowOf("More");
        Popover popover{columnOf(std::move(rows)), [this] { ++dismissed; }};
        more.popover = std::make_shared<Popover>(popover);
        return columnOf({rowOf("Connect"), more, rowOf("Quit")});
    }

    int dismissed = 0;
};

TEST_F(PopoverInteraction, opensBesideThePanelWithinTheScreen) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    auto* popover = panel.popover();
    ASSERT_NE(popover, nullptr);
    const auto* card = dynamic_cast<FloatingWindow*>(&panel.window());
    EXPECT_FALSE(popover->card().intersects(card->card()));
    EXPECT_TRUE(QGuiApplication::primaryScreen()->availableGeometry().contains(popover->card()));
}

TEST_F(PopoverInteraction, opensOnTheOtherSideIfThereIsNoRoom) {
    PanelOnScreen panel(columnOf({rowOf("More")}));
    panel.nsPanel().setFrameOrigin(100000, 300);
    panel.show(tree({rowOf("Logout")}));
    const auto* card = dynamic_cast<FloatingWindow*>(&panel.window());
    EXPECT_LT(panel.popover()->card().right(), card->card().left());
}

TEST_F(PopoverInteraction, staysOpenThroughAnUpdate) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    auto* popover = panel.popover();
    auto* logout = panel.row("Logout");
    panel.show(tree({rowOf("Logout"), rowOf("Docs")}));
    EXPECT_EQ(panel.popover(), popover);
    EXPECT_EQ(panel.row("Logout"), logout);
    EXPECT_NE(panel.row("Docs"), nullptr);
    EXPECT_EQ(dismissed, 0);
}

TEST_F(PopoverInteraction, closesWhenTheTreeNoLongerHasIt) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    panel.show(columnOf({rowOf("Connect"), rowOf("More"), rowOf("Quit")}));
    EXPECT_EQ(panel.popover(), nullptr);
    EXPECT_EQ(dismissed, 0);
}

TEST_F(PopoverInteraction, closesBeforeThePanelOnEscape) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    QTest::keyClick(panel.popover(), Qt::Key_Escape);
    EXPECT_EQ(dismissed, 1);
    EXPECT_TRUE(panel.nsPanel().isVisible());
}

TEST_F(PopoverInteraction, aClickElsewhereInThePanelOnlyClosesIt) {
    int connected = 0;
    auto shown = tree({rowOf("Logout")});
    shown.children[0].action = [&] { ++connected; };
    PanelOnScreen panel(shown);
    auto* popover = panel.popover();
    // Qt sends a press outside a pop-up to the pop-up.
    QTest::mouseClick(popover, Qt::LeftButton, {}, QPoint(-50, -50));
    runLoopUntilIdle();
    EXPECT_EQ(dismissed, 1);
    EXPECT_EQ(connected, 0);
}

TEST_F(PopoverInteraction, walksAndActsByKeyboard) {
    std::string acted;
    PanelOnScreen panel(tree(
        {rowOf("Logout", [&] { acted += "logout"; }), rowOf("Docs", [&] { acted += "docs"; })}));
    QTest::keyClick(panel.popover(), Qt::Key_Down);
    QTest::keyClick(panel.popover()->focusWidget(), Qt::Key_Down);
    QTest::keyClick(panel.popover()->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(acted, "docs");
}

TEST_F(PopoverInteraction, reappearsWithThePanel) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    panel.nsPanel().orderOut();
    runLoopUntilIdle();
    EXPECT_TRUE(panel.cards().empty());
    panel.nsPanel().makeKeyAndOrderFront();
    runLoopUntilIdle();
    EXPECT_NE(panel.popover(), nullptr);
}

TEST_F(PopoverInteraction, closesWithTheRowThatPresentsIt) {
    PanelOnScreen panel(tree({rowOf("Logout")}));
    panel.show(columnOf({text("logged out")}));
    EXPECT_EQ(panel.popover(), nullptr);
}

class AlertInteraction : public ::testing::Test {
  protected:
    ViewNode tree() {
        auto node = columnOf({rowOf("Uninstall Quoxelin")});
        node.alert = std::make_shared<Alert>(Alert{
            "Uninstall Quoxelin",
            "<b>This</b> will remove all.",
            {{"Uninstall", Alert::Button::Role::destructive, [this] { acted += "uninstall"; }},
             {"Cancel", Alert::Button::Role::cancel, [this] { acted += "cancel"; }}}});
        return node;
    }

    static QAbstractButton* button(PanelOnScreen& panel, const QString& title) {
        for (auto* button : panel.alert()->buttons())
            if (button->text() == title)
                return button;
        return nullptr;
    }

    std::string acted;
};

TEST_F(AlertInteraction, performsTheActionOfThePressedButton) {
    PanelOnScreen panel(tree());
    ASSERT_NE(panel.alert(), nullptr);
    button(panel, "Uninstall")->click();
    EXPECT_EQ(acted, "uninstall");
    EXPECT_EQ(panel.alert(), nullptr);
}

TEST_F(AlertInteraction, cancelsOnEscape) {
    PanelOnScreen panel(tree());
    QTest::keyClick(panel.alert(), Qt::Key_Escape);
    EXPECT_EQ(acted, "cancel");
}

TEST_F(AlertInteraction, doesNothingDestructiveOnReturn) {
    PanelOnScreen panel(tree());
    QTest::keyClick(panel.alert(), Qt::Key_Return);
    EXPECT_EQ(acted, "cancel");
}

TEST_F(AlertInteraction, staysOpenThroughAnUpdate) {
    PanelOnScreen panel(tree());
    auto* box = panel.alert();
    auto* before = button(panel, "Uninstall");
    panel.show(tree());
    EXPECT_EQ(panel.alert(), box);
    EXPECT_EQ(button(panel, "Uninstall"), before);
    EXPECT_EQ(acted, "");
}

TEST_F(AlertInteraction, closesWhenTheTreeNoLongerHasIt) {
    PanelOnScreen panel(tree());
    panel.show(columnOf({rowOf("Uninstall Quoxelin")}));
    EXPECT_EQ(panel.alert(), nullptr);
    EXPECT_EQ(acted, "");
}

} // namespace quoxelin::testing
