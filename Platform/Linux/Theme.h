#pragma once

#include "View/ViewRecords.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <optional>
#include <utility>

namespace quoxelin {

/// The records' colours and fonts in terms of the desktop's palette, light or dark, and its font.
/// Every colour and font can be told apart, so that what a widget shows can be read back.
class Theme {
  public:
    /// Of the desktop as it is now.
    Theme();

    QColor color(Color color, double opacity = 1) const;

    /// The inverse of `color`; absent when the widget shows a colour that is none of ours.
    std::optional<std::pair<Color, double>> recordOf(const QColor& shown) const;

    static QFont font(Font font, FontWeight weight);
    static std::optional<std::pair<Font, FontWeight>> recordOf(const QFont& shown);

    QColor panelBackground() const;
    QColor panelBorder() const;
    QColor divider() const;
    QColor focusRing() const;

  private:
    bool isDark() const;

    QPalette palette;
};

} // namespace quoxelin
