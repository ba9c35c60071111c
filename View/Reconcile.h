#pragma once

#include "View/ViewRecords.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace quoxelin {

// Decides which views stay on the screen when the records change. `View` is a toolkit's subclass of
// `Element`; `View::make(kind)` makes a new one.

/// Creates the view for `kind`. The template arguments are in the order of `ViewNode::Kind`;
/// `Stack` serves both stacks.
template <typename View, typename Text, typename Symbol, typename Circle, typename Spacer,
          typename Divider, typename Row, typename Stack, typename List>
std::unique_ptr<View> makeView(ViewNode::Kind kind) {
    switch (kind) {
    case ViewNode::Kind::text:
        return std::make_unique<Text>();
    case ViewNode::Kind::symbol:
        return std::make_unique<Symbol>();
    case ViewNode::Kind::circle:
        return std::make_unique<Circle>();
    case ViewNode::Kind::spacer:
        return std::make_unique<Spacer>();
    case ViewNode::Kind::divider:
        return std::make_unique<Divider>();
    case ViewNode::Kind::row:
        return std::make_unique<Row>();
    case ViewNode::Kind::horizontalStack:
    case ViewNode::Kind::verticalStack:
        return std::make_unique<Stack>(kind);
    case ViewNode::Kind::list:
        return std::make_unique<List>();
    }
    return nullptr;
}

/// One view for each sibling, in order. A view is kept if its key matches a record, or its position
/// if the record has no key. Other views are destroyed.
template <typename View>
std::vector<std::unique_ptr<View>> reconciled(std::vector<std::unique_ptr<View>> views,
                                              const std::vector<ViewNode>& nodes) {
    const auto viewOf = [&views](const ViewNode& node, std::size_t position) {
        // Most views stay in their place.
        if (position < views.size() && views[position] && views[position]->standsFor(node))
            return std::move(views[position]);
        if (!node.key.empty())
            for (auto& view : views)
                if (view && view->standsFor(node))
                    return std::move(view);
        return View::make(node.kind);
    };
    std::vector<std::unique_ptr<View>> next;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        next.push_back(viewOf(nodes[i], i));
    return next;
}

/// Shows the tree in `root`. A view of another kind is replaced; `install` puts the new one on the
/// screen.
template <typename View, typename Install>
void reconcileRoot(std::unique_ptr<View>& root, const ViewNode& tree, Install install) {
    if (!root || !root->standsFor(tree)) {
        root = View::make(tree.kind);
        install(*root);
    }
    root->bind(tree);
}

} // namespace quoxelin
