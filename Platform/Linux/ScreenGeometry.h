#pragma once

#include "Platform/Geometry.h"

#include <QPoint>
#include <QRect>

namespace quoxelin {

/// Between Qt's coordinates, which grow downwards from the primary screen's upper left corner, and
/// ours, which grow upwards from its lower left corner.
NSRect fromScreen(const QRect& rectangle);

/// The upper left corner of a rectangle of that height whose lower left corner is given.
QPoint topLeftOnScreen(double x, double y, int height);

/// The rectangle moved so that it lies wholly on one screen, beside the desktop's own bars: the
/// screen that holds the point, or the one nearest to it.
QRect movedOntoScreen(const QRect& rectangle, const QPoint& point);

/// The part of that screen that windows may use.
QRect usableScreenAt(const QPoint& point);

} // namespace quoxelin
