#pragma once

#include "View/ViewRecords.h"

#include <string>
#include <utility>
#include <vector>

namespace quoxelin::view {

// Short forms for the panel's records.

inline ViewNode text(std::string text, Font font, Color color = Color::primary,
                     double opacity = 1) {
    ViewNode node;
    node.kind = ViewNode::Kind::text;
    node.text = std::move(text);
    node.font = font;
    node.color = color;
    node.opacity = opacity;
    return node;
}

/// A text with an address or name in it, which is not broken but cut in its middle.
inline ViewNode value(ViewNode text, int lineLimit) {
    text.lineLimit = lineLimit;
    text.truncation = Truncation::middle;
    return text;
}

inline ViewNode symbol(std::string name, Font font, Color color = Color::primary,
                       double opacity = 1) {
    auto node = text(std::move(name), font, color, opacity);
    node.kind = ViewNode::Kind::symbol;
    return node;
}

inline ViewNode circle(Color color, double diameter) {
    ViewNode node;
    node.kind = ViewNode::Kind::circle;
    node.color = color;
    node.width = diameter;
    node.height = diameter;
    return node;
}

inline ViewNode spacer() {
    ViewNode node;
    node.kind = ViewNode::Kind::spacer;
    return node;
}

inline ViewNode divider() {
    ViewNode node;
    node.kind = ViewNode::Kind::divider;
    return node;
}

inline ViewNode horizontalStack(std::vector<ViewNode> children, double spacing = 0) {
    ViewNode node;
    node.kind = ViewNode::Kind::horizontalStack;
    node.children = std::move(children);
    node.spacing = spacing;
    return node;
}

inline ViewNode verticalStack(std::vector<ViewNode> children, double spacing = 0) {
    ViewNode node;
    node.kind = ViewNode::Kind::verticalStack;
    node.children = std::move(children);
    node.spacing = spacing;
    return node;
}

inline ViewNode list(std::vector<ViewNode> children, double spacing) {
    auto node = verticalStack(std::move(children), spacing);
    node.kind = ViewNode::Kind::list;
    return node;
}

inline ViewNode padded(ViewNode node, EdgeInsets padding) {
    node.padding = padding;
    return node;
}

inline ViewNode keyed(std::string key, ViewNode node) {
    node.key = std::move(key);
    return node;
}

} // namespace quoxelin::view
