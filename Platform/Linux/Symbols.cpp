#include "Platform/Linux/Symbols.h"

#include "Platform/Linux/TemplateImage.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <cmath>

namespace quoxelin {

void drawSymbol(QPainter& painter, const QString& name, const QRectF& place, const QColor& color) {
    QFile file(":/assets/symbols/" + name + ".svg");
    if (!file.open(QIODevice::ReadOnly))
        return;
    const auto ratio = painter.device()->devicePixelRatioF();
    const auto pixels = static_cast<int>(std::lround(place.width() * ratio));
    const auto picture = tinted(renderedSvg(file.readAll(), pixels), color);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(place, picture, picture.rect());
}

} // namespace quoxelin
