#pragma once

#include "Platform/NSStatusBar.h"

#include <QByteArray>
#include <QIcon>

namespace quoxelin {

/// A vector image of the application's assets. As a template its shape alone counts, and the colour
/// is the desktop's.
class TemplateImage final : public NSImage {
  public:
    /// Null when there is no such asset.
    static std::shared_ptr<TemplateImage> named(const std::string& name);

    void setTemplate(bool newIsTemplate) override { isTemplate = newIsTemplate; }
    /// Trays choose the size.
    void setSize(NSSize) override {}

    /// Crisp in every size that trays ask for.
    QIcon icon(const QColor& tint) const;

  private:
    explicit TemplateImage(QByteArray svg) : svg(std::move(svg)) {}

    QByteArray svg;
    bool isTemplate = false;
};

/// A short text as an icon, for an item that has no image.
QIcon textIcon(const std::string& text, const QColor& tint);

/// The picture with all that is opaque in that colour.
QPixmap tinted(QPixmap pixmap, const QColor& tint);

/// The drawing, square, in device pixels.
QPixmap renderedSvg(const QByteArray& svg, int pixels);

} // namespace quoxelin
