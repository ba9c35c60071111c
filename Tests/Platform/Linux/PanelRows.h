#pragma once

#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "View/ViewBuilders.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

inline ViewNode rowOf(
    const std::string& label, std::function<void()> action = [] {}) {
    ViewNode node;
    node.kind = ViewNode::Kind::row;
    node.padding = {6, 14, 6, 14};
    node.fillsWidth = true;
    node.accessibilityLabel = label;
    node.action = std::move(action);
    node.children = {view::text(label, Font::callout)};
    return node;
}

/// As wide as the panel.
inline ViewNode columnOf(std::vector<ViewNode> children) {
    auto node = view::verticalStack(std::move(children));
    node.width = 260;
    return node;
}

/// Whether the whole row can be seen.
inline bool isInView(PanelOnScreen& panel, const std::string& label) {
    const auto* widget = panel.row(QString::fromStdString(label));
    return widget != nullptr && widget->visibleRegion().boundingRect() == widget->rect();
}

} // namespace quoxelin::testing
