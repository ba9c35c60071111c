#include "Platform/macOS/ElementView.h"

#include "Platform/macOS/AlertSheet.h"
#include "Platform/macOS/ContainerViews.h"
#include "Platform/macOS/LeafViews.h"
#include "Platform/macOS/PopoverPresenter.h"
#include "Platform/macOS/Theme.h"
#include "View/Reconcile.h"

#include <algorithm>

namespace quoxelin {

std::unique_ptr<ElementView> ElementView::make(ViewNode::Kind kind) {
    return makeView<ElementView, TextView, SymbolView, CircleView, SpacerView, DividerView, RowView,
                    StackView, ListView>(kind);
}

ElementView::ElementView(ViewNode::Kind kind, QXBox* box) : Element(kind), box(box) {}

ElementView::~ElementView() {
    [box removeFromSuperview];
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

std::unique_ptr<Presentation<Popover>> ElementView::makePopover() {
    return std::make_unique<PopoverPresenter>(box);
}

std::unique_ptr<Presentation<Alert>> ElementView::makeAlert() {
    return std::make_unique<AlertSheet>(box);
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

} // namespace quoxelin
