#pragma once

#include "Platform/Geometry.h"

#include <QPoint>
#include <QRect>

namespace quoxelin {

/// Converts between Qt's coordinates, which grow downward from the primary screen's upper left
/// corner, and ours, which grow upward from its lower left corner.
NSRect fromScreen(const QRect& rectangle);

/// The upper left corner of a rectangle, given its lower left corner and its height.
QPoint topLeftOnScreen(double x, double y, int height);

/// Moves the rectangle onto the screen that holds the point, or the nearest one, clear of the
/// desktop's bars.
QRect movedOntoScreen(const QRect& rectangle, const QPoint& point);

/// The part of that screen that windows may use.
QRect usableScreenAt(const QPoint& point);

} // namespace quoxelin
