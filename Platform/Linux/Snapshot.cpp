#include "Platform/Linux/Snapshot.h"

#include "Platform/Linux/FloatingWindow.h"

#include <QApplication>
#include <QDialog>
#include <QPainter>
#include <QPixmap>
#include <algorithm>

namespace quoxelin {

namespace {

/// The panel is the lowest layer.
int layer(const QWidget& window) {
    return window.isModal() ? 2 : window.windowType() == Qt::Popup ? 1 : 0;
}

} // namespace

QWidgetList windowsOnScreen() {
    auto windows = QApplication::topLevelWidgets();
    windows.removeIf([](QWidget* window) {
        const bool isOurs = dynamic_cast<FloatingWindow*>(window) != nullptr ||
                            qobject_cast<QDialog*>(window) != nullptr;
        return !isOurs || !window->isVisible();
    });
    std::stable_sort(windows.begin(), windows.end(),
                     [](const auto* a, const auto* b) { return layer(*a) < layer(*b); });
    return windows;
}

QImage snapshotOfWindows() {
    const auto windows = windowsOnScreen();
    QRect area;
    qreal ratio = 1;
    for (const auto* window : windows) {
        area |= window->geometry();
        ratio = std::max(ratio, window->devicePixelRatioF());
    }
    if (area.isEmpty())
        return {};
    QImage picture(area.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    for (auto* window : windows)
        painter.drawPixmap(window->geometry().topLeft() - area.topLeft(), window->grab());
    return picture;
}

} // namespace quoxelin
