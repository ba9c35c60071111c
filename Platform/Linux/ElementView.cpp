#include "Platform/Linux/ElementView.h"

#include "Platform/Linux/AlertBox.h"
#include "Platform/Linux/ContainerViews.h"
#include "Platform/Linux/LeafViews.h"
#include "Platform/Linux/ListView.h"
#include "Platform/Linux/PopoverWindow.h"
#include "Platform/Linux/TextView.h"
#include "Platform/Linux/Theme.h"
#include "View/Reconcile.h"

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
    return makeView<ElementView, TextView, SymbolView, CircleView, SpacerView, DividerView, RowView,
                    StackView, ListView>(kind);
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
    const auto color = Theme().color(node.background, node.backgroundOpacity);
    if (background == color && cornerRadius == node.cornerRadius)
        return;
    background = color;
    cornerRadius = node.cornerRadius;
    widget().update();
}

std::unique_ptr<Presentation<Popover>> ElementView::makePopover() {
    return std::make_unique<PopoverWindow>(widget());
}

std::unique_ptr<Presentation<Alert>> ElementView::makeAlert() {
    return std::make_unique<AlertBox>(widget());
}

void ElementView::readFrame(ViewNode& node) const {
    const auto padding = widget().contentsMargins();
    node.padding = {static_cast<double>(padding.top()), static_cast<double>(padding.left()),
                    static_cast<double>(padding.bottom()), static_cast<double>(padding.right())};
    node.width = fixedLength(widget().minimumWidth(), widget().maximumWidth());
    node.height = fixedLength(widget().minimumHeight(), widget().maximumHeight());
    node.fillsWidth = widget().sizePolicy().horizontalPolicy() == QSizePolicy::Expanding;
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
