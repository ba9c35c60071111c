#include "Platform/macOS/ElementView.h"

#include "Platform/macOS/AlertSheet.h"
#include "Platform/macOS/ContainerViews.h"
#include "Platform/macOS/LeafViews.h"
#include "Platform/macOS/PopoverPresenter.h"
#include "Platform/macOS/Theme.h"

#include <algorithm>

namespace quoxelin {

std::unique_ptr<ElementView> ElementView::make(ViewNode::Kind kind) {
    switch (kind) {
    case ViewNode::Kind::text:
        return std::make_unique<TextView>();
    case ViewNode::Kind::symbol:
        return std::make_unique<SymbolView>();
    case ViewNode::Kind::circle:
        return std::make_unique<CircleView>();
    case ViewNode::Kind::spacer:
        return std::make_unique<SpacerView>();
    case ViewNode::Kind::divider:
        return std::make_unique<DividerView>();
    case ViewNode::Kind::row:
        return std::make_unique<RowView>();
    case ViewNode::Kind::horizontalStack:
    case ViewNode::Kind::verticalStack:
        return std::make_unique<StackView>(kind);
    }
    return nullptr;
}

ElementView::ElementView(ViewNode::Kind kind, QXBox* box) : kind(kind), box(box) {}

ElementView::~ElementView() {
    [box removeFromSuperview];
}

bool ElementView::standsFor(const ViewNode& node, bool samePosition) const {
    return kind == node.kind && key == node.key && (samePosition || !key.empty());
}

void ElementView::bind(const ViewNode& node) {
    key = node.key;
    bindFrame(node);
    bindContent(node);
    bindAttachments(node);
}

void ElementView::bindFrame(const ViewNode& node) {
    box.padding = node.padding;
    width = node.width;
    height = node.height;
    fillsWidth = node.fillsWidth;
    alignment = node.alignment;
    NSColor* const fill = theme::color(node.background);
    if (![box.fillColor isEqual:fill])
        box.fillColor = fill;
    if (box.fillOpacity != node.backgroundOpacity)
        box.fillOpacity = node.backgroundOpacity;
    if (box.cornerRadius != node.cornerRadius)
        box.cornerRadius = node.cornerRadius;
}

void ElementView::bindAttachments(const ViewNode& node) {
    if (!node.popover)
        popover.reset();
    else if (!popover)
        popover = std::make_unique<PopoverPresenter>(box);
    if (popover)
        popover->bind(*node.popover);

    if (!node.alert)
        alert.reset();
    else if (!alert)
        alert = std::make_unique<AlertSheet>(box);
    if (alert)
        alert->bind(*node.alert);
}

ViewNode ElementView::readBack() const {
    ViewNode node;
    node.kind = kind;
    node.key = key;
    readFrame(node);
    readContent(node);
    if (popover)
        node.popover = std::make_shared<Popover>(popover->readBack());
    if (alert)
        node.alert = std::make_shared<Alert>(alert->readBack());
    return node;
}

void ElementView::readFrame(ViewNode& node) const {
    node.padding = box.padding;
    node.width = width;
    node.height = height;
    node.fillsWidth = fillsWidth;
    node.alignment = alignment;
    node.background = theme::recordOf(box.fillColor).value_or(Color::clear);
    node.backgroundOpacity = box.fillOpacity;
    node.cornerRadius = box.cornerRadius;
}

CGSize ElementView::measure(CGFloat available) const {
    const auto padding = box.padding;
    const CGFloat across = padding.leading + padding.trailing;
    const CGFloat whole = width.value_or(available);
    const auto content = contentSize(std::max<CGFloat>(0, whole - across));
    const CGFloat contentHeight = content.height + padding.top + padding.bottom;
    return CGSizeMake(width.value_or(std::min<CGFloat>(content.width + across, available)),
                      height.value_or(contentHeight));
}

void ElementView::place(CGRect frame) {
    if (!NSEqualRects(box.frame, frame)) {
        box.frame = frame;
        box.needsDisplay = YES;
    }
    placeContent(box.contentRect);
}

void ElementView::windowDidShow() {
    if (popover)
        popover->present();
    if (alert)
        alert->present();
}

void ElementView::windowDidHide() {
    if (popover)
        popover->takeAway();
    if (alert)
        alert->takeAway();
}

} // namespace quoxelin
