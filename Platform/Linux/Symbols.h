#pragma once

#include <QColor>
#include <QRectF>
#include <QString>

class QPainter;

namespace quoxelin {

/// Draws the symbol of that name in one colour; nothing when there is no such symbol.
void drawSymbol(QPainter& painter, const QString& name, const QRectF& place, const QColor& color);

} // namespace quoxelin
