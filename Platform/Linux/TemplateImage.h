#pragma once

#include "Platform/NSStatusBar.h"

#include <QByteArray>
#include <QIcon>

namespace quoxelin {

/// A vector image from the application's assets. As a template it provides only the shape; the
/// desktop chooses the color.
class TemplateImage final : public NSImage {
  public:
    /// Null if there is no such asset.
    static std::shared_ptr<TemplateImage> named(const std::string& name);

    void setTemplate(bool newIsTemplate) override { isTemplate = newIsTemplate; }
    /// Trays choose the size.
    void setSize(NSSize) override {}

    /// Sharp in every size that trays use.
    QIcon icon(const QColor& tint) const;

  private:
    explicit TemplateImage(QByteArray svg) : svg(std::move(svg)) {}

    QByteArray svg;
    bool isTemplate = false;
};

/// A short text as an icon, for an item without an image.
QIcon textIcon(const std::string& text, const QColor& tint);

/// The picture with all opaque parts in that color.
QPixmap tinted(QPixmap pixmap, const QColor& tint);

/// The drawing as a square, in device pixels.
QPixmap renderedSvg(const QByteArray& svg, int pixels);

} // namespace quoxelin
