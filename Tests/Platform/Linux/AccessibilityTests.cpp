#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <QAccessible>
#include <QLabel>
#include <algorithm>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

using Names = std::vector<std::string>;

ViewNode treeOf(const std::string& name) {
    return std::find_if(panelStates().begin(), panelStates().end(),
                        [&](const PanelState& state) { return state.name == name; })
        ->scene()
        ->tree();
}

/// What is read of a card, in the order of its records.
void collectRead(const ViewNode& node, Names& names) {
    if (node.kind == ViewNode::Kind::text && !node.text.empty())
        names.push_back(node.text);
    if (node.kind == ViewNode::Kind::row)
        names.push_back(node.accessibilityLabel);
    else
        for (const auto& child : node.children)
            collectRead(child, names);
}

const Popover* popoverOf(const ViewNode& node) {
    if (node.popover)
        return node.popover.get();
    for (const auto& child : node.children)
        if (const auto* popover = popoverOf(child))
            return popover;
    return nullptr;
}

QAccessibleInterface* accessible(QObject* object) {
    return QAccessible::queryAccessibleInterface(object);
}

std::string nameOf(const QAccessibleInterface& element) {
    return element.text(QAccessible::Name).toStdString();
}

std::vector<QAccessibleInterface*> childrenOf(const QAccessibleInterface& element) {
    std::vector<QAccessibleInterface*> children;
    for (int i = 0; i < element.childCount(); ++i) {
        children.push_back(element.child(i));
        EXPECT_EQ(element.indexOfChild(children.back()), i);
        EXPECT_EQ(children.back()->parent(), &element);
    }
    return children;
}

/// What is read of a card, without its popover.
Names readOf(const QAccessibleInterface& card) {
    Names names;
    for (const auto* child : childrenOf(card))
        if (child->role() != QAccessible::Dialog)
            names.push_back(nameOf(*child));
    return names;
}

QAccessibleInterface* popoverIn(const QAccessibleInterface& card) {
    const auto children = childrenOf(card);
    return !children.empty() && children.back()->role() == QAccessible::Dialog ? children.back()
                                                                               : nullptr;
}

QAccessibleInterface& elementOf(PanelOnScreen& panel, const QString& label) {
    return *accessible(panel.row(label));
}

} // namespace

TEST(Accessibility, readsEveryStateInTheOrderOfTheScreen) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        const auto tree = state.scene()->tree();
        // Rows that come later must not be read last.
        PanelOnScreen panel(treeOf("logged-out"));
        panel.show(tree);
        Names expected;
        collectRead(tree, expected);
        const auto* card = accessible(&panel.window());
        EXPECT_EQ(readOf(*card), expected);
        if (const auto* popover = popoverOf(tree); popover && !tree.alert) {
            expected.clear();
            collectRead(popover->content, expected);
            ASSERT_NE(popoverIn(*card), nullptr);
            EXPECT_EQ(readOf(*popoverIn(*card)), expected);
        }
    }
}

TEST(Accessibility, namesThePanelAndItsPopovers) {
    PanelOnScreen panel(treeOf("more"));
    const auto* application = accessible(qApp);
    const QAccessibleInterface* window = nullptr;
    for (int i = 0; i < application->childCount(); ++i)
        if (application->child(i)->object() == &panel.window())
            window = application->child(i);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->role(), QAccessible::Window);
    EXPECT_EQ(nameOf(*window), "Quoxelin");
    ASSERT_NE(popoverIn(*window), nullptr);
    EXPECT_EQ(nameOf(*popoverIn(*window)), "More");
    panel.show(treeOf("connected"));
    EXPECT_EQ(popoverIn(*window), nullptr);
}

TEST(Accessibility, saysWhichRowsOpenAPopoverAndWhetherItIsOpen) {
    PanelOnScreen panel(treeOf("connected"));
    const auto more = [&] { return elementOf(panel, "More").state(); };
    EXPECT_TRUE(more().hasPopup);
    EXPECT_TRUE(more().expandable);
    EXPECT_TRUE(more().collapsed);
    EXPECT_FALSE(elementOf(panel, "Disconnect").state().hasPopup);
    EXPECT_FALSE(elementOf(panel, "Disconnect").state().expandable);
    panel.show(treeOf("more"));
    EXPECT_TRUE(more().expanded);
    EXPECT_FALSE(more().collapsed);
}

TEST(Accessibility, explainsTheExtensionsRow) {
    PanelOnScreen panel(treeOf("extension-failed"));
    const auto description =
        elementOf(panel, "System Extension Not Active").text(QAccessible::Description);
    EXPECT_EQ(description.toStdString(), "システム拡張を有効化できませんでした\n"
                                         "The extension could not be verified.");
}

TEST(Accessibility, pressesARow) {
    int pressed = 0;
    ViewNode row;
    row.kind = ViewNode::Kind::row;
    row.accessibilityLabel = "Connect";
    row.action = [&] { ++pressed; };
    PanelOnScreen panel(row);
    auto* actions = elementOf(panel, "Connect").actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_EQ(actions->actionNames().first(), QAccessibleActionInterface::pressAction());
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(pressed, 1);
}

} // namespace quoxelin::testing
