#include "Platform/Linux/LeafViews.h"

#include "Platform/Linux/Foreground.h"
#include "Platform/Linux/Symbols.h"
#include "Platform/Linux/Theme.h"

#include <QPainter>

namespace quoxelin {

SymbolView::SymbolView() : ElementView(ViewNode::Kind::symbol) {}

void SymbolView::bindContent(const ViewNode& node) {
    showFont(*this, node);
    showForeground(*this, node);
    name = QString::fromStdString(node.text);
    updateGeometry();
}

void SymbolView::readContent(ViewNode& node) const {
    node.text = name.toStdString();
    readFont(*this, node);
    readForeground(*this, node);
}

int SymbolView::side() const {
    return fontMetrics().ascent();
}

QSize SymbolView::sizeHint() const {
    return QSize(side(), side()) + QSize(marginsWidth(), marginsHeight());
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    QRectF place(0, 0, side(), side());
    place.moveCenter(QRectF(contentsRect()).center());
    drawSymbol(painter, name, place, foreground(*this));
}

CircleView::CircleView() : ElementView(ViewNode::Kind::circle) {}

void CircleView::bindContent(const ViewNode& node) {
    showForeground(*this, node);
}

void CircleView::readContent(ViewNode& node) const {
    readForeground(*this, node);
}

void CircleView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(foreground(*this));
    painter.drawEllipse(contentsRect());
}

void SpacerView::bindContent(const ViewNode&) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum);
}

void SpacerView::readContent(ViewNode& node) const {
    node.fillsWidth = false; // always true here, but records do not set it
}

namespace {
/// The line ends a little before the card's edge, like the highlights of rows.
constexpr int dividerInset = 8;
} // namespace

QSize DividerView::sizeHint() const {
    return {marginsWidth(), 1 + marginsHeight()};
}

void DividerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto content = contentsRect();
    painter.fillRect(
        QRect(content.left() + dividerInset, content.top(), content.width() - 2 * dividerInset, 1),
        Theme().divider());
}

} // namespace quoxelin
