#include "Platform/Linux/TemplateImage.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>

namespace quoxelin {

namespace {

/// Trays use the next larger size: 1x and 2x of the usual heights.
constexpr std::array traySizes{16, 18, 20, 22, 24, 32, 36, 44, 48, 64, 96};

QPixmap clearSquare(int pixels) {
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

} // namespace

std::shared_ptr<TemplateImage> TemplateImage::named(const std::string& name) {
    QFile file(":/assets/" + QString::fromStdString(name) + ".svg");
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    return std::shared_ptr<TemplateImage>(new TemplateImage(file.readAll()));
}

QIcon TemplateImage::icon(const QColor& tint) const {
    QIcon icon;
    for (const int pixels : traySizes) {
        const auto drawing = renderedSvg(svg, pixels);
        icon.addPixmap(isTemplate ? tinted(drawing, tint) : drawing);
    }
    return icon;
}

QIcon textIcon(const std::string& text, const QColor& tint) {
    QIcon icon;
    for (const int pixels : traySizes) {
        auto pixmap = clearSquare(pixels);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        auto font = QGuiApplication::font();
        font.setBold(true);
        font.setPixelSize(pixels * 2 / 3);
        painter.setFont(font);
        painter.setPen(tint);
        painter.drawText(pixmap.rect(), Qt::AlignCenter, QString::fromStdString(text));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

QPixmap tinted(QPixmap pixmap, const QColor& tint) {
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), tint);
    painter.end();
    return pixmap;
}

QPixmap renderedSvg(const QByteArray& svg, int pixels) {
    auto pixmap = clearSquare(pixels);
    QPainter painter(&pixmap);
    QSvgRenderer(svg).render(&painter);
    painter.end();
    return pixmap;
}

} // namespace quoxelin
