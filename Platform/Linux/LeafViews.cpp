#include "Platform/Linux/LeafViews.h"

#include "Platform/Linux/Symbols.h"
#include "Platform/Linux/Theme.h"

#include <QPainter>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <tuple>

namespace quoxelin {

namespace {

/// Stores a leaf's color in its palette, where the toolkit looks for it.
void showForeground(QWidget& widget, const ViewNode& node) {
    auto palette = widget.palette();
    const auto color = Theme().color(node.color, node.opacity);
    if (palette.color(QPalette::WindowText) == color)
        return;
    palette.setColor(QPalette::WindowText, color);
    widget.setPalette(palette);
}

void readForeground(const QWidget& widget, ViewNode& node) {
    if (const auto shown = Theme().recordOf(widget.palette().color(QPalette::WindowText)))
        std::tie(node.color, node.opacity) = *shown;
}

void showFont(QWidget& widget, const ViewNode& node) {
    const auto font = Theme::font(node.font, node.weight);
    if (widget.font() != font)
        widget.setFont(font);
}

void readFont(const QWidget& widget, ViewNode& node) {
    if (const auto shown = Theme::recordOf(widget.font()))
        std::tie(node.font, node.weight) = *shown;
}

QColor foreground(const QWidget& widget) {
    return widget.palette().color(QPalette::WindowText);
}

/// Appends the lines of a paragraph wrapped to that width.
void wrap(const QString& paragraph, const QFont& font, int width, QStringList& lines) {
    QTextLayout layout(paragraph, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(1, width));
        lines.append(paragraph.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    if (paragraph.isEmpty())
        lines.append(QString());
}

} // namespace

TextView::TextView() : ElementView(ViewNode::Kind::text) {
    setTextFormat(Qt::PlainText);
}

void TextView::bindContent(const ViewNode& node) {
    showFont(*this, node);
    showForeground(*this, node);
    setAlignment(node.alignment == Alignment::center ? Qt::AlignCenter
                                                     : Qt::AlignLeft | Qt::AlignVCenter);
    const auto text = QString::fromStdString(node.text);
    if (text == this->text() && lineLimit == node.lineLimit)
        return;
    lineLimit = node.lineLimit;
    setText(text);
    updateGeometry();
}

void TextView::readContent(ViewNode& node) const {
    node.text = text().toStdString();
    node.alignment =
        alignment().testFlag(Qt::AlignHCenter) ? Alignment::center : Alignment::leading;
    node.lineLimit = lineLimit;
    readFont(*this, node);
    readForeground(*this, node);
}

QStringList TextView::lines(int width) const {
    const auto paragraphs = text().split('\n');
    QStringList result;
    for (qsizetype i = 0; i < paragraphs.size(); ++i) {
        const bool isLast = lineLimit > 0 && result.size() == lineLimit - 1;
        if (isLast) {
            const auto rest = paragraphs.mid(i).join(' ');
            result.append(fontMetrics().elidedText(rest, Qt::ElideRight, width));
            return result;
        }
        QStringList wrapped;
        wrap(paragraphs[i], font(), width, wrapped);
        if (lineLimit > 0 && result.size() + wrapped.size() > lineLimit) {
            const auto keep = lineLimit - 1 - result.size();
            result.append(wrapped.mid(0, keep));
            const auto rest = wrapped.mid(keep).join(' ');
            result.append(fontMetrics().elidedText(rest, Qt::ElideRight, width));
            return result;
        }
        result.append(wrapped);
    }
    return result;
}

int TextView::lineHeight(const QString& line) const {
    QTextLayout layout(line, font());
    layout.beginLayout();
    const auto laidOut = layout.createLine();
    layout.endLayout();
    const double needed = laidOut.isValid() ? laidOut.height() : 0;
    return std::max(fontMetrics().lineSpacing(), static_cast<int>(std::ceil(needed)));
}

int TextView::height(const QStringList& lines) const {
    int sum = 0;
    for (const auto& line : lines)
        sum += lineHeight(line);
    return sum;
}

QSize TextView::sizeHint() const {
    int width = 0;
    for (const auto& paragraph : text().split('\n'))
        width = std::max(width, fontMetrics().horizontalAdvance(paragraph) + 1);
    return {width + marginsWidth(), height(lines(width)) + marginsHeight()};
}

QSize TextView::minimumSizeHint() const {
    return {marginsWidth() + fontMetrics().averageCharWidth(),
            fontMetrics().lineSpacing() + marginsHeight()};
}

int TextView::heightForWidth(int width) const {
    return height(lines(width - marginsWidth())) + marginsHeight();
}

void TextView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    painter.setPen(foreground(*this));
    const auto content = contentsRect();
    const auto shown = lines(content.width());
    auto place = content;
    place.setTop(content.top() + (content.height() - height(shown)) / 2);
    const auto across = static_cast<int>(QLabel::alignment() & Qt::AlignHorizontal_Mask);
    for (const auto& line : shown) {
        place.setHeight(lineHeight(line));
        painter.drawText(place, across | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip,
                         line);
        place.moveTop(place.bottom() + 1);
    }
}

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
