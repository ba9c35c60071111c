#pragma once

#include <QColor>
#include <QRectF>
#include <QString>

class QPainter;

namespace quoxelin {

/// Draws the named symbol in one color; draws nothing if there is no such symbol.
void drawSymbol(QPainter& painter, const QString& name, const QRectF& place, const QColor& color);

} // namespace quoxelin
