#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <QLabel>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// Expects the label to be as high as its text needs and to lie within all its parents.
void expectWhole(const QLabel& label) {
    SCOPED_TRACE(label.text().toStdString());
    if (label.hasHeightForWidth()) {
        EXPECT_GE(label.height(), label.heightForWidth(label.width()));
    } else {
        EXPECT_GE(label.height(), label.sizeHint().height());
    }
    for (const QWidget* child = &label; !child->isWindow(); child = child->parentWidget()) {
        const auto* parent = child->parentWidget();
        if (parent->parentWidget() != nullptr && parent->objectName() == "qt_scrollarea_viewport")
            break; // content higher than the screen scrolls
        EXPECT_TRUE(parent->rect().contains(child->geometry()));
    }
}

} // namespace

TEST(Layout, showsEveryTextCompletelyInEveryState) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        PanelOnScreen panel(state.scene()->tree());
        for (auto* card : panel.cards())
            for (const auto* label : card->findChildren<QLabel*>())
                expectWhole(*label);
    }
}

TEST(Layout, leavesTheContentForLaterWhileTheIconAppears) {
    PanelOnScreen panel(panelStates().front().scene()->tree(), false);
    const auto labels = [&] { return panel.window().findChildren<QLabel*>(); };
    EXPECT_TRUE(labels().empty());
    runLoopUntil([&] { return !labels().empty(); });
}

TEST(Layout, hasItsContentAndSizeIfThePanelIsOpenedAtOnce) {
    PanelOnScreen early(panelStates().front().scene()->tree(), false),
        late(panelStates().front().scene()->tree());
    const auto size = early.nsPanel().frame(), wanted = late.nsPanel().frame();
    EXPECT_EQ(size.height, wanted.height);
    EXPECT_EQ(size.width, wanted.width);
    EXPECT_FALSE(early.window().findChildren<QLabel*>().empty());
}

TEST(Layout, givesEveryCardTheWidthOfItsRecord) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        PanelOnScreen panel(state.scene()->tree());
        for (auto* card : panel.cards())
            for (const auto* button : card->findChildren<QAbstractButton*>()) {
                if (button->window() == card) {
                    EXPECT_EQ(button->width(), 260) << button->accessibleName().toStdString();
                }
            }
    }
}

TEST(Layout, keepsTheTopEdgeInPlaceWhileTheContentGrowsAndShrinks) {
    PanelOnScreen panel(panelStates().front().scene()->tree());
    const auto topOf = [&] {
        const auto frame = panel.nsPanel().frame();
        return frame.y + frame.height;
    };
    panel.nsPanel().setFrameOrigin(100, 300);
    const auto top = topOf();
    const auto left = panel.nsPanel().frame().x;
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        panel.show(state.scene()->tree());
        EXPECT_EQ(topOf(), top);
        EXPECT_EQ(panel.nsPanel().frame().x, left);
    }
}

TEST(Layout, knowsTheSizeOfWhatItWillShowWhileItIsHidden) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        PanelOnScreen panel(panelStates().front().scene()->tree());
        panel.nsPanel().orderOut();
        panel.show(state.scene()->tree());
        const auto size = panel.nsPanel().frame();
        panel.nsPanel().makeKeyAndOrderFront();
        for (int turn = 0; turn < 10; ++turn)
            runLoopUntilIdle();
        EXPECT_EQ(panel.nsPanel().frame(), size);
    }
}

TEST(Layout, opensForTheFirstTimeInTheSizeOfWhatItShowsByThen) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        PanelOnScreen panel(panelStates().front().scene()->tree(), false);
        panel.nsPanel().frame();
        panel.show(state.scene()->tree());
        const auto size = panel.nsPanel().frame();
        panel.nsPanel().makeKeyAndOrderFront();
        runLoopUntilLaidOut();
        EXPECT_EQ(panel.nsPanel().frame(), size);
    }
}

TEST(Layout, restsWhileThePanelHasNotBeenOpened) {
    struct Counter final : QObject {
        bool eventFilter(QObject*, QEvent* event) override {
            requests += event->type() == QEvent::LayoutRequest ? 1 : 0;
            return false;
        }
        int requests = 0;
    };
    PanelOnScreen panel(panelStates().front().scene()->tree(), false);
    panel.nsPanel().frame(); // makes the content
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        panel.show(state.scene()->tree());
        runLoopUntilLaidOut();
        Counter counter;
        panel.window().installEventFilter(&counter);
        runLoopUntilLaidOut();
        EXPECT_EQ(counter.requests, 0);
    }
}

TEST(Layout, isInPlaceWhereverAWindowManagerHasMovedTheWindowMeanwhile) {
    PanelOnScreen panel(panelStates().front().scene()->tree());
    panel.nsPanel().setFrameOrigin(100, 300);
    const auto place = static_cast<FloatingWindow&>(panel.window()).card().topLeft();
    panel.window().move(0, 0);
    panel.show(panelStates().back().scene()->tree());
    for (int turn = 0; turn < 10; ++turn)
        runLoopUntilIdle();
    EXPECT_EQ(static_cast<FloatingWindow&>(panel.window()).card().topLeft(), place);
}

TEST(Layout, growsAndShrinksWithItsContent) {
    PanelOnScreen panel(panelStates().front().scene()->tree());
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        panel.show(state.scene()->tree());
        // Each nested layout takes another turn of the loop.
        for (int turn = 0; turn < 10; ++turn)
            runLoopUntilIdle();
        const auto* card = &panel.window();
        const auto whileShown = card->size();
        panel.nsPanel().frame(); // fits the window to its content
        EXPECT_EQ(whileShown, card->size());
    }
}

TEST(Layout, scrollsContentThatIsTallerThanTheScreen) {
    ViewNode tree;
    tree.width = 260;
    for (int i = 0; i < 200; ++i) {
        ViewNode row;
        row.kind = ViewNode::Kind::row;
        row.padding = {6, 14, 6, 14};
        row.fillsWidth = true;
        row.action = [] {};
        row.accessibilityLabel = "row " + std::to_string(i);
        ViewNode text;
        text.kind = ViewNode::Kind::text;
        text.text = row.accessibilityLabel;
        row.children.push_back(text);
        tree.children.push_back(row);
    }
    PanelOnScreen panel(tree);
    const auto screen = QGuiApplication::primaryScreen()->availableGeometry();
    auto* card = panel.cards().front();
    EXPECT_TRUE(screen.contains(card->card()));
    EXPECT_LE(card->height(), screen.height()) << "a window manager would move it";
    // Moving to the last row scrolls it into view.
    auto* last = panel.row("row 199");
    ASSERT_NE(last, nullptr);
    last->setFocus(Qt::TabFocusReason);
    panel.row("row 198")->setFocus(Qt::BacktabFocusReason);
    QTest::keyClick(panel.row("row 198"), Qt::Key_Down);
    EXPECT_TRUE(last->hasFocus());
    EXPECT_FALSE(last->visibleRegion().isEmpty());
}

} // namespace quoxelin::testing
