#include "Platform/Linux/ContainerViews.h"

#include "Platform/Linux/ScrollView.h"
#include "Platform/Linux/Theme.h"
#include "View/Reconcile.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace quoxelin {

ChildViews::ChildViews(QWidget& owner, QBoxLayout::Direction direction)
    : owner(owner), direction(direction) {}

void ChildViews::bind(const ViewNode& parent) {
    const auto& nodes = parent.children;
    alignment = parent.alignment;
    spacing = static_cast<int>(std::lround(parent.spacing));
    if (layout == nullptr) {
        if (nodes.empty())
            return;
        layout = new QBoxLayout(direction, &owner);
        layout->setContentsMargins(0, 0, 0, 0);
    }
    // Setting a property restarts the layout, even if the value is the same.
    if (layout->spacing() != spacing)
        layout->setSpacing(spacing);
    views = reconciled(std::move(views), nodes);
    const bool isCentered = alignment == Alignment::center;
    // Otherwise each child that is shown has all children laid out again.
    layout->setEnabled(false);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Qt::Alignment across;
        if (direction == QBoxLayout::LeftToRight)
            across = isCentered ? Qt::AlignCenter : Qt::AlignVCenter;
        else if (isCentered)
            across = Qt::AlignHCenter;
        else if (nodes[i].width)
            across = Qt::AlignLeft;
        place(*views[i], across, static_cast<int>(i));
        views[i]->bind(nodes[i]);
        // After its children: each that appears in a visible widget has it laid out again.
        if (auto& widget = views[i]->widget(); widget.isHidden()) {
            widget.show();
            if (widget.isVisible())
                views[i]->windowDidShow();
        }
    }
    layout->setEnabled(true);
}

void ChildViews::place(ElementView& view, Qt::Alignment across, int position) {
    auto& widget = view.widget();
    if (auto* item = layout->itemAt(position); item == nullptr || item->widget() != &widget) {
        // The layout searches all its items.
        if (widget.parentWidget() == &owner)
            layout->removeWidget(&widget);
        layout->insertWidget(position, &widget);
    }
    if (auto* item = layout->itemAt(position); item->alignment() != across)
        layout->setAlignment(&widget, across);
}

void ChildViews::read(ViewNode& node) const {
    node.alignment = alignment;
    node.spacing = spacing;
    if (layout == nullptr)
        return;
    node.spacing = layout->spacing();
    // Without children the alignment cannot be read from a widget.
    if (!layout->isEmpty())
        node.alignment = layout->itemAt(0)->alignment().testFlag(Qt::AlignHCenter)
                             ? Alignment::center
                             : Alignment::leading;
    // The order on the screen.
    for (int i = 0; i < layout->count(); ++i) {
        const auto* widget = layout->itemAt(i)->widget();
        const auto found = std::find_if(views.begin(), views.end(), [&](const auto& view) {
            return &view->widget() == widget;
        });
        if (found != views.end())
            node.children.push_back((*found)->readBack());
    }
}

void ChildViews::windowDidShow() {
    for (const auto& view : views)
        view->windowDidShow();
}

void ChildViews::windowDidHide() {
    for (const auto& view : views)
        view->windowDidHide();
}

void ChildViews::collectReadable(std::vector<QWidget*>& widgets) {
    for (const auto& view : views)
        view->collectReadable(widgets);
}

int ChildViews::heightOfFirst(std::size_t count, int width) const {
    int height = 0;
    if (layout == nullptr)
        return height;
    for (int i = 0; i < layout->count() && static_cast<std::size_t>(i) < count; ++i) {
        const auto* item = layout->itemAt(i);
        const int wanted =
            item->hasHeightForWidth() ? item->heightForWidth(width) : item->sizeHint().height();
        height += std::max(wanted, item->minimumSize().height());
        if (i > 0)
            height += layout->spacing();
    }
    return height;
}

StackView::StackView(ViewNode::Kind kind)
    : ElementView(kind),
      children(*this, kind == ViewNode::Kind::horizontalStack ? QBoxLayout::LeftToRight
                                                              : QBoxLayout::TopToBottom) {}

void StackView::bindContent(const ViewNode& node) {
    children.bind(node);
}

void StackView::readContent(ViewNode& node) const {
    children.read(node);
}

void StackView::windowDidShow() {
    ElementView::windowDidShow();
    children.windowDidShow();
}

void StackView::windowDidHide() {
    ElementView::windowDidHide();
    children.windowDidHide();
}

void StackView::collectReadable(std::vector<QWidget*>& widgets) {
    children.collectReadable(widgets);
}

void StackView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
}

RowView::RowView() : ElementView(ViewNode::Kind::row), children(*this, QBoxLayout::LeftToRight) {
    // The toolkit gives all buttons one height; rows are as high as their text.
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (const auto current = action)
            current();
    });
}

RowView::~RowView() {
    setHovered(false);
}

void RowView::bindContent(const ViewNode& node) {
    action = node.action;
    onHover = node.onHover;
    setEnabled(!node.disabled);
    // By keyboard only: a click must not leave a focus ring.
    setFocusPolicy(node.disabled ? Qt::NoFocus : Qt::TabFocus);
    if (const auto name = QString::fromStdString(node.accessibilityLabel); accessibleName() != name)
        setAccessibleName(name);
    if (const auto description = QString::fromStdString(node.accessibilityDescription);
        accessibleDescription() != description)
        setAccessibleDescription(description);
    opensPopover = node.hasPopover;
    setExpanded(node.popover != nullptr);
    children.bind(node);
}

void RowView::readContent(ViewNode& node) const {
    node.disabled = !isEnabled();
    node.accessibilityLabel = accessibleName().toStdString();
    node.accessibilityDescription = accessibleDescription().toStdString();
    node.hasPopover = opensPopover;
    children.read(node);
}

void RowView::windowDidShow() {
    ElementView::windowDidShow();
    children.windowDidShow();
}

void RowView::windowDidHide() {
    ElementView::windowDidHide();
    children.windowDidHide();
}

void RowView::collectReadable(std::vector<QWidget*>& widgets) {
    widgets.push_back(this);
}

void RowView::setExpanded(bool isExpanded) {
    if (popoverIsOpen == isExpanded)
        return;
    popoverIsOpen = isExpanded;
    QAccessible::State changed;
    changed.expanded = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

void RowView::setHovered(bool newIsHovered) {
    if (isHovered == newIsHovered)
        return;
    isHovered = newIsHovered;
    if (const auto current = onHover)
        current(isHovered);
}

void RowView::enterEvent(QEnterEvent*) {
    setHovered(true);
}

void RowView::leaveEvent(QEvent*) {
    setHovered(false);
}

void RowView::hideEvent(QHideEvent*) {
    setHovered(false);
}

void RowView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        click();
        return;
    case Qt::Key_Right:
        if (opensPopover && !popoverIsOpen)
            click();
        return;
    }
    event->ignore(); // the window handles the others
}

void RowView::focusInEvent(QFocusEvent* event) {
    QAbstractButton::focusInEvent(event);
    scrollIntoView(*this);
}

void RowView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    if (!hasFocus())
        return;
    constexpr double radius = 6;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme().focusRing(), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius, radius);
}

} // namespace quoxelin
