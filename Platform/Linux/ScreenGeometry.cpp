#include "Platform/Linux/ScreenGeometry.h"

#include "Platform/Linux/Wayland/LayerShell.h"
#include "Platform/Linux/X11Desktop.h"

#include <QGuiApplication>
#include <QMarginsF>
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

QRect usablePart(const QScreen& screen) {
    if (const auto* shell = LayerShell::instance())
        return shell->usablePart(screen);
    const auto* x11 = X11Desktop::instance();
    // With several screens or without a window manager Qt does not know where the bars are.
    if (x11 == nullptr || screen.availableGeometry() != screen.geometry())
        return screen.availableGeometry();
    const auto ratio = screen.devicePixelRatio();
    const auto whole = screen.geometry();
    const auto bars = x11->barsOn(QRect(whole.topLeft(), whole.size() * ratio));
    return whole.marginsRemoved((QMarginsF(bars) / ratio).toMargins());
}

} // namespace

QScreen* screenAt(const QPoint& point) {
    const auto screens = QGuiApplication::screens();
    const auto nearest =
        std::min_element(screens.begin(), screens.end(), [&](const auto* a, const auto* b) {
            return distance(a->geometry(), point) < distance(b->geometry(), point);
        });
    return nearest == screens.end() ? nullptr : *nearest;
}

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
    const auto* screen = screenAt(point);
    return screen == nullptr ? QRect() : usablePart(*screen);
}

QRect movedOntoScreen(const QRect& rectangle, const QPoint& point) {
    constexpr int edge = distanceToScreenEdge;
    const auto area = usableScreenAt(point).adjusted(edge, edge, -edge, -edge);
    QRect moved = rectangle;
    moved.moveLeft(std::max(area.left(), std::min(moved.left(), area.right() + 1 - moved.width())));
    moved.moveTop(std::max(area.top(), std::min(moved.top(), area.bottom() + 1 - moved.height())));
    return moved;
}

QPoint placeBeside(const QRect& card, int top, const QSize& size) {
    constexpr int gap = 4;
    QRect place(QPoint(card.right() + 1 + gap, top), size);
    if (place.right() > usableScreenAt(card.center()).right())
        place.moveRight(card.left() - 1 - gap);
    return movedOntoScreen(place, card.center()).topLeft();
}

bool isOnBar(const QPoint& point) {
    const auto* screen = screenAt(point);
    return screen != nullptr && screen->geometry().contains(point) &&
           !usablePart(*screen).contains(point);
}

QPoint trayCorner() {
    const auto* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return {};
    const auto whole = screen->geometry();
    const auto usable = usablePart(*screen);
    const bool isBarBelow = usable.top() == whole.top() && usable.bottom() < whole.bottom();
    return isBarBelow ? whole.bottomRight() : whole.topRight();
}

} // namespace quoxelin
