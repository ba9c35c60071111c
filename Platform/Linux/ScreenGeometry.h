#pragma once

#include "Platform/Geometry.h"

#include <QPoint>
#include <QRect>

class QScreen;

namespace quoxelin {

/// Converts between Qt's coordinates, which grow downward from the primary screen's upper left
/// corner, and ours, which grow upward from its lower left corner.
NSRect fromScreen(const QRect& rectangle);

/// The upper left corner of a rectangle, given its lower left corner and its height.
QPoint topLeftOnScreen(double x, double y, int height);

/// Between a card and the desktop's bars, and between a card and the screen's edges.
inline constexpr int distanceToScreenEdge = 5;

/// The screen that holds the point, or the nearest one; null without a screen.
QScreen* screenAt(const QPoint& point);

/// The part of the screen that windows may use: without the desktop's bars. Takes the screen that
/// holds the point, or the nearest one.
QRect usableScreenAt(const QPoint& point);

/// Moves the rectangle onto the usable part of that screen, not quite to its edges. If it is too
/// large, its upper left corner stays visible.
QRect movedOntoScreen(const QRect& rectangle, const QPoint& point);

/// Where a rectangle of that size is beside the card, to the right of it if there is room. Its top
/// is at that height if possible.
QPoint placeBeside(const QRect& card, int top, const QSize& size);

/// Whether the point is on a bar at the screen's edge.
bool isOnBar(const QPoint& point);

/// Where trays usually are: at the right end of the primary screen's bar.
QPoint trayCorner();

} // namespace quoxelin
