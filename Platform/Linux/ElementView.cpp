#include "Platform/Linux/ElementView.h"

#include "Platform/Linux/AlertBox.h"
#include "Platform/Linux/ContainerViews.h"
#include "Platform/Linux/LeafViews.h"
#include "Platform/Linux/PopoverWindow.h"
#include "Platform/Linux/Theme.h"

#include <QPainter>
#include <cmath>

namespace quoxelin {

namespace {

int rounded(double length) {
    return static_cast<int>(std::lround(length));
}

void setFixed(QWidget& widget, const std::optional<double>& width,
              const std::optional<double>& height) {
    widget.setMinimumSize(rounded(width.value_or(0)), rounded(height.value_or(0)));
    widget.setMaximumSize(width ? rounded(*width) : QWIDGETSIZE_MAX,
                          height ? rounded(*height) : QWIDGETSIZE_MAX);
}

std::optional<double> fixedLength(int minimum, int maximum) {
    if (minimum != maximum)
        return std::nullopt;
    return minimum;
}

} // namespace

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

ElementView::ElementView(ViewNode::Kind kind) : kind(kind) {}

ElementView::~ElementView() = default;

bool ElementView::standsFor(const ViewNode& node, bool samePosition) const {
    return kind == node.kind && key == node.key && (samePosition || !key.empty());
}

void ElementView::bind(const ViewNode& node) {
    key = node.key;
    bindFrame(node);
    bindContent(node);
    bindAttachments(node);
    widget().update();
}

void ElementView::bindFrame(const ViewNode& node) {
    const QMargins padding(rounded(node.padding.leading), rounded(node.padding.top),
                           rounded(node.padding.trailing), rounded(node.padding.bottom));
    if (widget().contentsMargins() != padding)
        widget().setContentsMargins(padding);
    setFixed(widget(), node.width, node.height);
    auto policy = widget().sizePolicy();
    policy.setHorizontalPolicy(node.fillsWidth ? QSizePolicy::Expanding : QSizePolicy::Preferred);
    if (policy != widget().sizePolicy())
        widget().setSizePolicy(policy);
    alignment = node.alignment;
    background = Theme().color(node.background, node.backgroundOpacity);
    cornerRadius = node.cornerRadius;
}

void ElementView::bindAttachments(const ViewNode& node) {
    if (!node.popover)
        popover.reset();
    else if (!popover)
        popover = std::make_unique<PopoverWindow>(widget());
    if (popover)
        popover->bind(*node.popover);

    if (!node.alert)
        alert.reset();
    else if (!alert)
        alert = std::make_unique<AlertBox>(widget());
    if (alert)
        alert->bind(*node.alert);
}

void ElementView::present() {
    if (popover)
        popover->present();
    if (alert)
        alert->present();
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
    const auto padding = widget().contentsMargins();
    node.padding = {static_cast<double>(padding.top()), static_cast<double>(padding.left()),
                    static_cast<double>(padding.bottom()), static_cast<double>(padding.right())};
    node.width = fixedLength(widget().minimumWidth(), widget().maximumWidth());
    node.height = fixedLength(widget().minimumHeight(), widget().maximumHeight());
    node.fillsWidth = widget().sizePolicy().horizontalPolicy() == QSizePolicy::Expanding;
    node.alignment = alignment;
    if (const auto shown = Theme().recordOf(background))
        std::tie(node.background, node.backgroundOpacity) = *shown;
    node.cornerRadius = cornerRadius;
}

void ElementView::paintBackground(QPainter& painter) const {
    if (background.alpha() == 0)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(background);
    painter.drawRoundedRect(widget().rect(), cornerRadius, cornerRadius);
}

int ElementView::marginsWidth() const {
    const auto margins = widget().contentsMargins();
    return margins.left() + margins.right();
}

int ElementView::marginsHeight() const {
    const auto margins = widget().contentsMargins();
    return margins.top() + margins.bottom();
}

} // namespace quoxelin
