#include "Platform/Linux/Foreground.h"

#include "Platform/Linux/Theme.h"

#include <QWidget>
#include <tuple>

namespace quoxelin {

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

} // namespace quoxelin
