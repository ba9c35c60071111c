#include "Platform/macOS/ContainerViews.h"

#include "Platform/macOS/ObjC.h"
#include "View/Reconcile.h"

#include <algorithm>

namespace quoxelin {

ContainerView::ContainerView(ViewNode::Kind kind, QXBox* box) : ContainerView(kind, box, box) {}

ContainerView::ContainerView(ViewNode::Kind kind, QXBox* box, QXBox* content)
    : ElementView(kind, box), content(content) {}

void ContainerView::bindContent(const ViewNode& node) {
    const auto& nodes = node.children;
    spacing = node.spacing;
    views = reconciled(std::move(views), nodes);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        QXBox* const child = views[i]->view();
        NSArray<NSView*>* const shown = content.subviews;
        NSView* const next = i < shown.count ? shown[i] : nil;
        if (next != child)
            [content addSubview:child
                     positioned:next != nil ? NSWindowBelow : NSWindowAbove
                     relativeTo:next];
        views[i]->bind(nodes[i]);
    }
}

void ContainerView::readContent(ViewNode& node) const {
    node.spacing = spacing;
    // The order of the subviews is the one on the screen.
    for (NSView* shown in content.subviews) {
        const auto found = std::find_if(views.begin(), views.end(),
                                        [&](const auto& each) { return each->view() == shown; });
        if (found != views.end())
            node.children.push_back((*found)->readBack());
    }
}

CGFloat ContainerView::gaps() const {
    return views.empty() ? 0 : spacing * static_cast<CGFloat>(views.size() - 1);
}

/// If the elements do not fit, shrinks those that can be shrunk, the first ones first.
std::vector<CGSize> ContainerView::sizesBeside(CGFloat available) const {
    std::vector<CGSize> sizes;
    CGFloat excess = gaps() - available;
    for (const auto& each : views) {
        sizes.push_back(each->measure(available));
        excess += sizes.back().width;
    }
    for (std::size_t i = 0; i < views.size() && excess > 0; ++i) {
        if (!views[i]->isShrinkable())
            continue;
        const auto before = sizes[i].width;
        sizes[i] = views[i]->measure(std::max<CGFloat>(0, before - excess));
        excess -= before - sizes[i].width;
    }
    return sizes;
}

CGSize ContainerView::contentSize(CGFloat available) const {
    CGSize whole = CGSizeZero;
    if (isVertical()) {
        for (const auto& each : views) {
            const auto size = each->measure(available);
            whole.width = std::max(whole.width, size.width);
            whole.height += size.height;
        }
        whole.height += gaps();
        return whole;
    }
    for (const auto& size : sizesBeside(available)) {
        whole.width += size.width;
        whole.height = std::max(whole.height, size.height);
    }
    whole.width += gaps();
    return whole;
}

CGFloat ContainerView::heightOfFirst(std::size_t count, CGFloat available) const {
    CGFloat height = 0;
    for (std::size_t i = 0; i < std::min(count, views.size()); ++i)
        height += views[i]->measure(available).height + (i > 0 ? spacing : 0);
    return height;
}

void ContainerView::placeContent(CGRect place) {
    if (isVertical())
        placeBelow(place);
    else
        placeBeside(place);
}

void ContainerView::placeBelow(CGRect place) {
    CGFloat y = place.origin.y;
    for (const auto& each : views) {
        const auto size = each->measure(place.size.width);
        const bool isCentered = alignment == Alignment::center && !each->isFlexible();
        const CGFloat width = isCentered || each->hasWidth() ? size.width : place.size.width;
        const CGFloat x =
            isCentered ? place.origin.x + (place.size.width - width) / 2 : place.origin.x;
        each->place(CGRectMake(x, y, width, size.height));
        y += size.height + spacing;
    }
}

void ContainerView::placeBeside(CGRect place) {
    auto sizes = sizesBeside(place.size.width);
    CGFloat left = place.size.width - gaps();
    for (const auto& size : sizes)
        left -= size.width;
    left = std::max<CGFloat>(0, left);
    const auto flexible = std::count_if(views.begin(), views.end(),
                                        [](const auto& each) { return each->isFlexible(); });
    CGFloat x = place.origin.x;
    if (flexible == 0 && alignment == Alignment::center)
        x += left / 2;
    for (std::size_t i = 0; i < views.size(); ++i) {
        auto size = sizes[i];
        if (views[i]->isFlexible())
            size.width += left / static_cast<CGFloat>(flexible);
        const CGFloat y = place.origin.y + (place.size.height - size.height) / 2;
        views[i]->place(CGRectMake(x, y, size.width, size.height));
        x += size.width + spacing;
    }
}

void ContainerView::windowDidShow() {
    ElementView::windowDidShow();
    for (const auto& each : views)
        each->windowDidShow();
}

void ContainerView::windowDidHide() {
    ElementView::windowDidHide();
    for (const auto& each : views)
        each->windowDidHide();
}

StackView::StackView(ViewNode::Kind kind) : ContainerView(kind, [[QXBox alloc] init]) {}

ListView::ListView()
    : ContainerView(ViewNode::Kind::list, [[QXBox alloc] init], [[QXBox alloc] init]),
      scrollView([[NSScrollView alloc] init]) {
    scrollView.borderType = NSNoBorder;
    scrollView.drawsBackground = NO;
    scrollView.hasVerticalScroller = YES;
    scrollView.autohidesScrollers = YES;
    scrollView.scrollerStyle = NSScrollerStyleOverlay;
    scrollView.documentView = content;
    [view() addSubview:scrollView];
}

CGSize ListView::contentSize(CGFloat available) const {
    auto size = ContainerView::contentSize(available);
    size.height = heightOfFirst(listRowsInView, available);
    return size;
}

void ListView::placeContent(CGRect place) {
    scrollView.frame = place;
    const auto whole = ContainerView::contentSize(place.size.width);
    content.frame = NSMakeRect(0, 0, place.size.width, whole.height);
    ContainerView::placeContent(content.bounds);
}

RowView::RowView() : ContainerView(ViewNode::Kind::row, [[QXRow alloc] init]) {}

RowView::~RowView() {
    [row() endHovering];
}

QXRow* RowView::row() const {
    return static_cast<QXRow*>(view());
}

void RowView::bindContent(const ViewNode& node) {
    [row() setAction:node.action];
    [row() setOnHover:node.onHover];
    row().disabled = node.disabled;
    row().accessibilityLabel = toNSString(node.accessibilityLabel);
    row().accessibilityHelp = toNSString(node.accessibilityDescription);
    row().hasPopover = node.hasPopover;
    if (node.hasPopover)
        row().accessibilityExpanded = node.popover != nullptr;
    ContainerView::bindContent(node);
}

void RowView::readContent(ViewNode& node) const {
    node.disabled = row().disabled;
    node.accessibilityLabel = toString(row().accessibilityLabel);
    node.accessibilityDescription = toString(row().accessibilityHelp);
    node.hasPopover = row().hasPopover;
    ContainerView::readContent(node);
}

void RowView::windowDidHide() {
    ContainerView::windowDidHide();
    [row() endHovering];
}

} // namespace quoxelin
