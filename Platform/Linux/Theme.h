#pragma once

#include "View/ViewRecords.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <optional>
#include <utility>

namespace quoxelin {

/// Maps the records' colors and fonts to the desktop's light or dark palette and its font. No two
/// colors or fonts look the same, so what a widget shows can be read back. Texts in colors of ours
/// have a contrast of at least 4.5.
class Theme {
  public:
    /// Reads the desktop's current theme.
    Theme();

    QColor color(Color color, double opacity = 1) const;

    /// The inverse of `color`; absent if the color is not one of ours.
    std::optional<std::pair<Color, double>> recordOf(const QColor& shown) const;

    static QFont font(Font font, FontWeight weight);
    static std::optional<std::pair<Font, FontWeight>> recordOf(const QFont& shown);

    QColor panelBackground() const;

    /// How well that color with that opacity is told from the panel's background: from 1 to 21.
    double contrastOnPanel(const QColor& color, double opacity) const;

    /// The same for a text, which may be in a highlighted row.
    double contrast(const QColor& text, double opacity) const;

    QColor panelBorder() const;
    QColor divider() const;
    QColor focusRing() const;

  private:
    bool isDark() const;
    QColor readable(QColor wanted, double opacity) const;

    struct ReadableColors {
        QColor secondary;
        QColor red;
    };
    const ReadableColors& readableColors() const;

    QPalette palette;
};

} // namespace quoxelin
