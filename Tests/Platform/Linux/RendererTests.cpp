#include "Platform/Linux/QtHostingView.h"
#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "Tests/Support/Golden.h"
#include "Tests/Support/PanelStates.h"
#include "Tests/Support/ViewText.h"

#include <QAccessible>
#include <QApplication>
#include <QDeadlineTimer>
#include <QLabel>
#include <QPaintEvent>
#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace quoxelin::testing {

class RendererGolden : public ::testing::TestWithParam<PanelState> {};

TEST_P(RendererGolden, showsWhatTheGoldenFileSays) {
    const auto scene = GetParam().scene();
    QtHostingView view;
    view.setRootView(scene->tree());
    EXPECT_TRUE(matchesGolden(GetParam().name, viewText(view.readBack())));
}

INSTANTIATE_TEST_SUITE_P(, RendererGolden, ::testing::ValuesIn(panelStates()),
                         [](const auto& info) {
                             auto name = info.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(Renderer, showsEveryStateAfterEveryOther) {
    std::vector<ViewNode> trees;
    for (const auto& state : panelStates())
        trees.push_back(state.scene()->tree());
    QtHostingView view;
    // Steps of different lengths visit all states in different orders.
    for (const std::size_t step : {1u, 5u, 11u, 24u})
        for (std::size_t i = 0; i < trees.size(); ++i) {
            const auto& state = (i * step) % trees.size();
            SCOPED_TRACE(panelStates()[state].name);
            view.setRootView(trees[state]);
            ASSERT_EQ(viewText(view.readBack()), viewText(trees[state]));
        }
}

TEST(Renderer, followsTheDesktopFromLightToDark) {
    const auto light = QApplication::palette();
    const auto scene = panelStates().front().scene();
    PanelOnScreen panel(scene->tree());
    auto dark = light;
    dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x22));
    dark.setColor(QPalette::Base, QColor(0x18, 0x18, 0x1a));
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    runLoopUntilIdle();
    EXPECT_EQ(viewText(panel.readBack()), viewText(scene->tree()));
    const auto dots = panel.window().findChildren<QLabel*>();
    ASSERT_FALSE(dots.empty());
    EXPECT_GT(dots.first()->palette().color(QPalette::WindowText).lightness(), 128);
    QApplication::setPalette(light);
}

namespace {

/// Collects the areas that a window repaints.
class PaintWatch final : public QObject {
  public:
    explicit PaintWatch(QWidget& window) { window.installEventFilter(this); }
    QRegion painted;

  private:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

} // namespace

TEST(Renderer, repaintsNothingForAnEqualTree) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto tree = state.scene()->tree();
        PanelOnScreen panel(tree);
        PaintWatch watch(panel.window());
        panel.show(tree);
        EXPECT_TRUE(watch.painted.isEmpty());
    }
}

TEST(Renderer, repaintsOnlyTheHighlightedRow) {
    const auto state = [](const char* name) {
        return std::find_if(panelStates().begin(), panelStates().end(),
                            [&](const PanelState& each) { return each.name == name; })
            ->scene()
            ->tree();
    };
    PanelOnScreen panel(state("connected"));
    const auto* row = panel.row("Copy Quoxelin IPv6: fd7a::4");
    ASSERT_NE(row, nullptr);
    PaintWatch watch(panel.window());
    panel.show(state("hover-ipv6"));
    const QRect place(row->mapTo(&panel.window(), QPoint(0, 0)), row->size());
    EXPECT_EQ(watch.painted.boundingRect(), place);
}

TEST(Renderer, showsTreesThatFollowQuicklyAtMostOncePerFrame) {
    const auto tree = [](const char* text) {
        ViewNode node;
        node.kind = ViewNode::Kind::text;
        node.text = text;
        return node;
    };
    QtHostingView view;
    view.setRootView(tree("first"));
    view.catchUp();
    const auto& label = *view.widget()->findChild<QLabel*>();
    pollUntil([frame = QDeadlineTimer(20)] { return frame.hasExpired(); });
    view.setRootView(tree("second"));
    EXPECT_EQ(label.text(), "second") << "the screen was quiet";
    view.setRootView(tree("third"));
    view.setRootView(tree("fourth"));
    EXPECT_EQ(label.text(), "second") << "the frame has not passed";
    std::vector<QString> shown;
    runLoopUntil([&] {
        if (shown.empty() || shown.back() != label.text())
            shown.push_back(label.text());
        return label.text() == "fourth";
    });
    EXPECT_EQ(shown, (std::vector<QString>{"second", "fourth"}));
}

namespace {

void collectRows(const ViewNode& node, std::multimap<std::string, bool>& rows) {
    if (node.kind == ViewNode::Kind::row)
        rows.emplace(node.accessibilityLabel, !node.disabled);
    for (const auto& child : node.children)
        collectRows(child, rows);
    if (node.popover)
        collectRows(node.popover->content, rows);
}

void collectButtons(QAccessibleInterface& element, std::multimap<std::string, bool>& buttons) {
    if (element.role() == QAccessible::Button) {
        const auto* actions = element.actionInterface();
        EXPECT_NE(actions, nullptr);
        if (actions != nullptr) {
            EXPECT_TRUE(element.state().disabled ||
                        actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
        }
        buttons.emplace(element.text(QAccessible::Name).toStdString(), !element.state().disabled);
    }
    for (int i = 0; i < element.childCount(); ++i)
        if (auto* child = element.child(i))
            collectButtons(*child, buttons);
}

} // namespace

TEST(Renderer, offersEveryRowToAssistiveTechnologyAsANamedButton) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto tree = state.scene()->tree();
        PanelOnScreen panel(tree);
        std::multimap<std::string, bool> rows, buttons;
        collectRows(tree, rows);
        collectButtons(*QAccessible::queryAccessibleInterface(&panel.window()), buttons);
        EXPECT_EQ(buttons, rows);
    }
}

TEST(Renderer, offersAnAlertToAssistiveTechnology) {
    ViewNode tree;
    tree.alert =
        std::make_shared<Alert>(Alert{"Uninstall",
                                      "Gone for ever.",
                                      {{"Uninstall", Alert::Button::Role::destructive, [] {}},
                                       {"Cancel", Alert::Button::Role::cancel, [] {}}}});
    PanelOnScreen panel(tree);
    auto* box = panel.alert();
    ASSERT_NE(box, nullptr);
    std::multimap<std::string, bool> buttons;
    collectButtons(*QAccessible::queryAccessibleInterface(box), buttons);
    EXPECT_EQ(buttons.count("Uninstall"), 1u);
    EXPECT_EQ(buttons.count("Cancel"), 1u);
}

} // namespace quoxelin::testing
