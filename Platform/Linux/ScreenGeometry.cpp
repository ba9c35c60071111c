#include "Platform/Linux/ScreenGeometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>

namespace quoxelin {

namespace {

int primaryHeight() {
    const auto* screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? 0 : screen->geometry().height();
}

int distance(const QRect& area, const QPoint& point) {
    const QPoint nearest(std::clamp(point.x(), area.left(), area.right()),
                         std::clamp(point.y(), area.top(), area.bottom()));
    return (nearest - point).manhattanLength();
}

} // namespace

NSRect fromScreen(const QRect& rectangle) {
    return {static_cast<double>(rectangle.x()),
            static_cast<double>(primaryHeight() - rectangle.y() - rectangle.height()),
            static_cast<double>(rectangle.width()), static_cast<double>(rectangle.height())};
}

QPoint topLeftOnScreen(double x, double y, int height) {
    return {static_cast<int>(std::lround(x)),
            primaryHeight() - static_cast<int>(std::lround(y)) - height};
}

QRect usableScreenAt(const QPoint& point) {
    const auto screens = QGuiApplication::screens();
    const auto nearest =
        std::min_element(screens.begin(), screens.end(), [&](const auto* a, const auto* b) {
            return distance(a->geometry(), point) < distance(b->geometry(), point);
        });
    return nearest == screens.end() ? QRect() : (*nearest)->availableGeometry();
}

QRect movedOntoScreen(const QRect& rectangle, const QPoint& point) {
    const auto area = usableScreenAt(point);
    QRect moved = rectangle;
    // If the rectangle is larger than the screen, its upper left corner stays visible.
    moved.moveLeft(std::max(area.left(), std::min(moved.left(), area.right() + 1 - moved.width())));
    moved.moveTop(std::max(area.top(), std::min(moved.top(), area.bottom() + 1 - moved.height())));
    return moved;
}

} // namespace quoxelin
