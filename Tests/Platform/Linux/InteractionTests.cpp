#include "Platform/Linux/AlertBox.h"
#include "Tests/Platform/Linux/PanelOnScreen.h"

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

ViewNode row(
    const std::string& label, std::function<void()> action = [] {}) {
    ViewNode node;
    node.kind = ViewNode::Kind::row;
    node.padding = {6, 14, 6, 14};
    node.fillsWidth = true;
    node.accessibilityLabel = label;
    node.action = std::move(action);
    node.children = {text(label)};
    return node;
}

ViewNode column(std::vector<ViewNode> children) {
    ViewNode node;
    node.width = 260;
    node.children = std::move(children);
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
    PanelOnScreen panel(column({row("Connect", [&] { ++clicks; })}));
    QTest::mouseClick(panel.row("Connect"), Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
    QTest::mouseClick(panel.row("Connect"), Qt::RightButton);
    EXPECT_EQ(clicks, 1);
}

TEST(Interaction, actsOnAClickOnTheTextOfARow) {
    int clicks = 0;
    PanelOnScreen panel(column({row("Connect", [&] { ++clicks; })}));
    auto* label = panel.row("Connect")->findChild<QLabel*>();
    const auto place = label->mapTo(&panel.window(), label->rect().center());
    QTest::mouseClick(panel.window().windowHandle(), Qt::LeftButton, {}, place);
    EXPECT_EQ(clicks, 1);
}

TEST(Interaction, actsOnTheLatestTree) {
    std::string acted;
    PanelOnScreen panel(column({row("Connect", [&] { acted += "old"; })}));
    panel.show(column({row("Connect", [&] { acted += "new"; })}));
    QTest::mouseClick(panel.row("Connect"), Qt::LeftButton);
    EXPECT_EQ(acted, "new");
}

TEST(Interaction, survivesAnActionThatRemovesItsOwnRow) {
    std::unique_ptr<PanelOnScreen> panel;
    panel = std::make_unique<PanelOnScreen>(
        column({row("Logout", [&] { panel->show(column({text("gone")})); })}));
    auto* button = panel->row("Logout");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Return);
    EXPECT_EQ(panel->row("Logout"), nullptr);
}

TEST(Interaction, doesNothingOnADisabledRow) {
    auto disabled = row("Check for Updates...", [] { FAIL(); });
    disabled.disabled = true;
    PanelOnScreen panel(column({disabled, row("Quit")}));
    QTest::mouseClick(panel.row("Check for Updates..."), Qt::LeftButton);
    press(panel, Qt::Key_Tab);
    EXPECT_EQ(focusedRow(), "Quit");
}

TEST(Interaction, marksNoRowBeforeTheKeyboardIsUsed) {
    PanelOnScreen panel(column({row("a"), row("b")}));
    EXPECT_EQ(focusedRow(), "");
}

TEST(Interaction, walksTheRowsByTabAndArrows) {
    PanelOnScreen panel(column({row("a"), column({row("b")}), text("-"), row("c")}));
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
    PanelOnScreen panel(column({row("a"), row("c")}));
    auto keyed = row("b");
    keyed.key = "b";
    panel.show(column({row("a"), keyed, row("c")}));
    std::string order;
    for (int i = 0; i < 3; ++i) {
        press(panel, Qt::Key_Down);
        order += focusedRow().toStdString();
    }
    EXPECT_EQ(order, "abc");
}

TEST(Interaction, actsOnReturnEnterAndSpace) {
    int acted = 0;
    PanelOnScreen panel(column({row("Connect", [&] { ++acted; })}));
    press(panel, Qt::Key_Down);
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
        press(panel, key);
    EXPECT_EQ(acted, 3);
}

TEST(Interaction, closesThePanelOnEscape) {
    PanelOnScreen panel(column({row("a")}));
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
    auto hovered = row("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(column({hovered}));
    moveOver(*panel.row("a"));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(panel.row("a"), &leave);
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST(Interaction, reportsThatThePointerLeftWhenTheRowOrThePanelDisappears) {
    std::vector<bool> told;
    auto hovered = row("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(column({hovered}));
    moveOver(*panel.row("a"));
    panel.show(column({}));
    EXPECT_EQ(told, (std::vector{true, false}));
    panel.show(column({hovered}));
    moveOver(*panel.row("a"));
    panel.nsPanel().orderOut();
    EXPECT_EQ(told, (std::vector{true, false, true, false}));
}

TEST(Interaction, keepsHoverAndFocusThroughAnUpdate) {
    std::vector<bool> told;
    auto hovered = row("a");
    hovered.onHover = [&](bool isHovering) { told.push_back(isHovering); };
    PanelOnScreen panel(column({hovered, row("b")}));
    auto* widget = panel.row("a");
    moveOver(*widget);
    press(panel, Qt::Key_Down);
    hovered.background = Color::gray;
    hovered.backgroundOpacity = 0.12;
    hovered.children = {text("another text")};
    panel.show(column({hovered, row("b")}));
    EXPECT_EQ(panel.row("a"), widget);
    EXPECT_TRUE(widget->hasFocus());
    EXPECT_EQ(told, std::vector{true});
}

TEST(Interaction, followsAKeyedRowToAnotherPlace) {
    auto a = row("a"), b = row("b");
    a.key = "1";
    b.key = "2";
    PanelOnScreen panel(column({a, b}));
    auto* widget = panel.row("b");
    press(panel, Qt::Key_Up);
    ASSERT_TRUE(widget->hasFocus());
    panel.show(column({b, a}));
    EXPECT_EQ(panel.row("b"), widget);
    EXPECT_TRUE(widget->hasFocus());
    EXPECT_LT(panel.row("b")->mapToGlobal(QPoint()).y(), panel.row("a")->mapToGlobal(QPoint()).y());
}

class PopoverInteraction : public ::testing::Test {
  protected:
    ViewNode tree(std::vector<ViewNode> rows) {
        auto more = row("More");
        Popover popover{column(std::move(rows)), [this] { ++dismissed; }};
        more.popover = std::make_shared<Popover>(popover);
        return column({row("Connect"), more, row("Quit")});
    }

    int dismissed = 0;
};

TEST_F(PopoverInteraction, opensBesideThePanelWithinTheScreen) {
    PanelOnScreen panel(tree({row("Logout")}));
    auto* popover = panel.popover();
    ASSERT_NE(popover, nullptr);
    const auto* card = dynamic_cast<FloatingWindow*>(&panel.window());
    EXPECT_FALSE(popover->card().intersects(card->card()));
    EXPECT_TRUE(QGuiApplication::primaryScreen()->availableGeometry().contains(popover->card()));
}

TEST_F(PopoverInteraction, opensOnTheOtherSideIfThereIsNoRoom) {
    PanelOnScreen panel(column({row("More")}));
    panel.nsPanel().setFrameOrigin(100000, 300);
    panel.show(tree({row("Logout")}));
    const auto* card = dynamic_cast<FloatingWindow*>(&panel.window());
    EXPECT_LT(panel.popover()->card().right(), card->card().left());
}

TEST_F(PopoverInteraction, staysOpenThroughAnUpdate) {
    PanelOnScreen panel(tree({row("Logout")}));
    auto* popover = panel.popover();
    auto* logout = panel.row("Logout");
    panel.show(tree({row("Logout"), row("Docs")}));
    EXPECT_EQ(panel.popover(), popover);
    EXPECT_EQ(panel.row("Logout"), logout);
    EXPECT_NE(panel.row("Docs"), nullptr);
    EXPECT_EQ(dismissed, 0);
}

TEST_F(PopoverInteraction, closesWhenTheTreeNoLongerHasIt) {
    PanelOnScreen panel(tree({row("Logout")}));
    panel.show(column({row("Connect"), row("More"), row("Quit")}));
    EXPECT_EQ(panel.popover(), nullptr);
    EXPECT_EQ(dismissed, 0);
}

TEST_F(PopoverInteraction, closesBeforeThePanelOnEscape) {
    PanelOnScreen panel(tree({row("Logout")}));
    QTest::keyClick(panel.popover(), Qt::Key_Escape);
    EXPECT_EQ(dismissed, 1);
    EXPECT_TRUE(panel.nsPanel().isVisible());
}

TEST_F(PopoverInteraction, aClickElsewhereInThePanelOnlyClosesIt) {
    int connected = 0;
    auto shown = tree({row("Logout")});
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
    PanelOnScreen panel(
        tree({row("Logout", [&] { acted += "logout"; }), row("Docs", [&] { acted += "docs"; })}));
    QTest::keyClick(panel.popover(), Qt::Key_Down);
    QTest::keyClick(panel.popover()->focusWidget(), Qt::Key_Down);
    QTest::keyClick(panel.popover()->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(acted, "docs");
}

TEST_F(PopoverInteraction, reappearsWithThePanel) {
    PanelOnScreen panel(tree({row("Logout")}));
    panel.nsPanel().orderOut();
    runLoopUntilIdle();
    EXPECT_TRUE(panel.cards().empty());
    panel.nsPanel().makeKeyAndOrderFront();
    runLoopUntilIdle();
    EXPECT_NE(panel.popover(), nullptr);
}

TEST_F(PopoverInteraction, closesWithTheRowThatPresentsIt) {
    PanelOnScreen panel(tree({row("Logout")}));
    panel.show(column({text("logged out")}));
    EXPECT_EQ(panel.popover(), nullptr);
}

class AlertInteraction : public ::testing::Test {
  protected:
    ViewNode tree() {
        auto node = column({row("Uninstall Quoxelin")});
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
    panel.show(column({row("Uninstall Quoxelin")}));
    EXPECT_EQ(panel.alert(), nullptr);
    EXPECT_EQ(acted, "");
}

} // namespace quoxelin::testing
