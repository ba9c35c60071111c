#include "Platform/Linux/TextView.h"

#include "Platform/Linux/AccessibleElements.h"
#include "Platform/Linux/Foreground.h"
#include "Platform/Linux/Wayland/LayeredToolTips.h"
#include "View/ValueLines.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace quoxelin {

namespace {

qsizetype laidOut = 0;

} // namespace

QStringList wrapped(const QString& paragraph, const QFont& font, int width, qsizetype limit) {
    laidOut += paragraph.size();
    QStringList lines;
    QTextLayout layout(paragraph, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(1, width));
        const bool isLast = lines.size() + 1 == limit;
        const auto length = isLast ? -1 : line.textLength();
        lines.append(paragraph.mid(line.textStart(), length).trimmed());
        if (isLast)
            break;
    }
    layout.endLayout();
    return lines;
}

TextView::TextView() : ElementView(ViewNode::Kind::text) {
    setTextFormat(Qt::PlainText);
}

qsizetype TextView::charactersLaidOut() {
    return laidOut;
}

void TextView::bindContent(const ViewNode& node) {
    showFont(*this, node);
    showForeground(*this, node);
    setAlignment(node.alignment == Alignment::center ? Qt::AlignCenter
                                                     : Qt::AlignLeft | Qt::AlignVCenter);
    announcesChanges = node.announcesChanges;
    const auto text = QString::fromStdString(node.text);
    if (text == this->text() && lineLimit == node.lineLimit && truncation == node.truncation)
        return;
    lineLimit = node.lineLimit;
    truncation = node.truncation;
    forgetLayout();
    setText(text);
    updateGeometry();
    if (announcesChanges && isVisible())
        announce(*this, text);
}

void TextView::readContent(ViewNode& node) const {
    node.text = text().toStdString();
    node.alignment =
        alignment().testFlag(Qt::AlignHCenter) ? Alignment::center : Alignment::leading;
    node.lineLimit = lineLimit;
    node.truncation = truncation;
    node.announcesChanges = announcesChanges;
    readFont(*this, node);
    readForeground(*this, node);
}

void TextView::forgetLayout() {
    unbroken.reset();
    blocks.clear();
}

/// As wide as a layout makes it. A sum of whole advances can be less, and then the last letter
/// wraps to another line.
TextView::Line TextView::measured(const QString& line) const {
    laidOut += line.size();
    QTextLayout layout(line, font());
    layout.beginLayout();
    const auto laidOutLine = layout.createLine();
    layout.endLayout();
    if (!laidOutLine.isValid())
        return {line, 0, fontMetrics().lineSpacing()};
    return {
        line, static_cast<int>(std::ceil(laidOutLine.naturalTextWidth())),
        std::max(fontMetrics().lineSpacing(), static_cast<int>(std::ceil(laidOutLine.height())))};
}

const std::vector<TextView::Line>& TextView::paragraphs() const {
    if (!unbroken) {
        unbroken.emplace();
        auto words = text();
        while (words.endsWith('\n'))
            words.chop(1);
        if (!words.isEmpty())
            for (const auto& paragraph : words.split('\n'))
                unbroken->push_back(measured(paragraph));
    }
    return *unbroken;
}

QStringList TextView::brokenAtSpaces(int width) const {
    QStringList lines;
    const auto fits = [&](const std::string& line) {
        return measured(QString::fromStdString(line)).width <= width;
    };
    for (const auto& line : valueLines(text().toStdString(), lineLimit, fits))
        lines.append(QString::fromStdString(line));
    return lines;
}

QStringList TextView::broken(int width) const {
    QStringList lines;
    for (const auto& paragraph : paragraphs()) {
        const auto left = lineLimit > 0 ? lineLimit - lines.size() : 0;
        if (lineLimit > 0 && left == 0)
            lines.last() += ' ' + paragraph.text;
        else if (paragraph.width <= width)
            lines.append(paragraph.text);
        else
            lines.append(wrapped(paragraph.text, font(), width, left));
    }
    return lines;
}

const TextView::Block& TextView::block(int width) const {
    if (const auto known = blocks.find(width); known != blocks.end())
        return known->second;
    Block block{paragraphs(), false};
    const bool isWhole =
        (lineLimit == 0 || block.lines.size() <= static_cast<std::size_t>(lineLimit)) &&
        std::all_of(block.lines.begin(), block.lines.end(),
                    [&](const Line& line) { return line.width <= width; });
    if (!isWhole) {
        const bool isValue = truncation == Truncation::middle;
        block.lines.clear();
        for (const auto& text : isValue ? brokenAtSpaces(width) : broken(width)) {
            auto line = measured(text);
            if (line.width > width) {
                const auto mode = isValue ? Qt::ElideMiddle : Qt::ElideRight;
                line = measured(QFontMetricsF(font()).elidedText(text, mode, width - 1));
                block.isCut = true;
            }
            block.lines.push_back(std::move(line));
        }
    }
    return blocks.emplace(width, std::move(block)).first->second;
}

int TextView::Block::height() const {
    int sum = 0;
    for (const auto& line : lines)
        sum += line.height;
    return sum;
}

QSize TextView::sizeHint() const {
    int width = 0;
    for (const auto& paragraph : paragraphs())
        width = std::max(width, paragraph.width);
    return {width + marginsWidth(), block(width).height() + marginsHeight()};
}

QSize TextView::minimumSizeHint() const {
    if (text().isEmpty())
        return {marginsWidth(), marginsHeight()};
    const int height =
        hasHeightForWidth() ? fontMetrics().lineSpacing() + marginsHeight() : sizeHint().height();
    return {marginsWidth() + fontMetrics().averageCharWidth(), height};
}

int TextView::heightForWidth(int width) const {
    return block(width - marginsWidth()).height() + marginsHeight();
}

void TextView::collectReadable(std::vector<QWidget*>& widgets) {
    if (!text().isEmpty())
        widgets.push_back(this);
}

QStringList TextView::shownLines() const {
    QStringList lines;
    for (const auto& line : shownBlock().lines)
        lines.append(line.text);
    return lines;
}

bool TextView::isCut() const {
    return shownBlock().isCut;
}

bool TextView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && isCut()) {
        const auto pointer = static_cast<QHelpEvent*>(event)->globalPos();
        // The toolkit breaks the lines of rich text only.
        if (!LayeredToolTips::show(*this, text(), pointer))
            QToolTip::showText(pointer, Qt::convertFromPlainText(text()), this);
        return true;
    }
    return QLabel::event(event);
}

void TextView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange)
        forgetLayout();
    QLabel::changeEvent(event);
}

void TextView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    painter.setPen(foreground(*this));
    const auto content = contentsRect();
    const auto& shown = shownBlock();
    auto place = content;
    place.setTop(content.top() + (content.height() - shown.height()) / 2);
    const auto across = static_cast<int>(QLabel::alignment() & Qt::AlignHorizontal_Mask);
    for (const auto& line : shown.lines) {
        place.setHeight(line.height);
        painter.drawText(place, across | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip,
                         line.text);
        place.moveTop(place.bottom() + 1);
    }
}

} // namespace quoxelin
