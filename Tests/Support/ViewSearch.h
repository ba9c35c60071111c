#pragma once

#include "View/ViewRecords.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace quoxelin::testing {

/// The first element that satisfies the predicate, searching popovers too. Null if there is none.
template <typename Predicate>
const ViewNode* find(const ViewNode& tree, const Predicate& predicate) {
    if (predicate(tree))
        return &tree;
    for (const auto& child : tree.children)
        if (const auto* const found = find(child, predicate))
            return found;
    return tree.popover ? find(tree.popover->content, predicate) : nullptr;
}

inline const ViewNode* findText(const ViewNode& tree, const std::string& text) {
    return find(tree, [&](const ViewNode& node) {
        return node.kind == ViewNode::Kind::text && node.text == text;
    });
}

inline const ViewNode* findRow(const ViewNode& tree, const std::string& text) {
    return find(tree, [&](const ViewNode& node) {
        return node.kind == ViewNode::Kind::row &&
               std::any_of(node.children.begin(), node.children.end(),
                           [&](const auto& child) { return findText(child, text) != nullptr; });
    });
}

/// Clicks the row that shows the text.
inline void click(const ViewNode& tree, const std::string& text) {
    const auto* const row = findRow(tree, text);
    ASSERT_NE(row, nullptr) << text;
    ASSERT_FALSE(row->disabled) << text;
    row->action();
}

} // namespace quoxelin::testing
