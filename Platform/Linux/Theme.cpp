#include "Platform/Linux/Theme.h"

#include <QApplication>
#include <QFontInfo>
#include <algorithm>
#include <array>
#include <cmath>

namespace quoxelin {

namespace {

constexpr std::array allColors{Color::primary, Color::secondary, Color::gray,
                               Color::green,   Color::orange,    Color::red};
constexpr std::array allFonts{Font::headline, Font::subheadline, Font::body,
                              Font::callout,  Font::footnote,    Font::caption};

/// Sizes relative to the desktop's font.
double scaleOf(Font font) {
    switch (font) {
    case Font::headline:
        return 1.04;
    case Font::body:
        return 1.0;
    case Font::callout:
        return 0.97;
    case Font::subheadline:
        return 0.92;
    case Font::footnote:
        return 0.88;
    case Font::caption:
        return 0.85;
    }
    return 1.0;
}

QColor mixed(const QColor& a, const QColor& b, double share) {
    const auto mix = [&](int x, int y) {
        return static_cast<int>(std::lround(x * (1 - share) + y * share));
    };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

/// The standard's relative luminance.
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double contrastBetween(const QColor& a, const QColor& b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// Looking a font up is slow, and every text asks.
double systemPointSize() {
    static QFont known;
    static double size = 0;
    if (const auto font = QApplication::font(); size == 0 || font != known) {
        known = font;
        size = QFontInfo(font).pointSizeF();
    }
    return size;
}

} // namespace

Theme::Theme() : palette(QApplication::palette()) {}

bool Theme::isDark() const {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

QColor Theme::color(Color color, double opacity) const {
    const auto text = palette.color(QPalette::WindowText);
    const bool dark = isDark();
    switch (color) {
    case Color::clear:
        return Qt::transparent;
    case Color::primary:
        return withOpacity(text, opacity);
    case Color::secondary:
        return withOpacity(readableColors().secondary, opacity);
    case Color::gray:
        return withOpacity(dark ? QColor(152, 152, 157) : QColor(142, 142, 147), opacity);
    case Color::green:
        return withOpacity(dark ? QColor(48, 209, 88) : QColor(30, 150, 70), opacity);
    case Color::orange:
        return withOpacity(dark ? QColor(255, 159, 10) : QColor(217, 112, 0), opacity);
    case Color::red:
        return withOpacity(readableColors().red, opacity);
    }
    return {};
}

std::optional<std::pair<Color, double>> Theme::recordOf(const QColor& shown) const {
    if (shown == QColor(Qt::transparent))
        return std::pair(Color::clear, 1.0);
    for (const auto candidate : allColors)
        if (color(candidate).rgb() == withOpacity(shown, 1).rgb())
            return std::pair(candidate,
                             std::round(static_cast<double>(shown.alphaF()) * 1000) / 1000);
    return std::nullopt;
}

double Theme::contrastOnPanel(const QColor& color, double opacity) const {
    const auto background = panelBackground();
    return contrastBetween(mixed(background, color, opacity), background);
}

double Theme::contrast(const QColor& text, double opacity) const {
    constexpr double highlightOpacity = 0.12;
    const auto highlight = mixed(panelBackground(), color(Color::gray), highlightOpacity);
    return std::min(contrastOnPanel(text, opacity),
                    contrastBetween(mixed(highlight, text, opacity), highlight));
}

/// The color, or one as near to it as can be read.
QColor Theme::readable(QColor wanted, double opacity) const {
    constexpr double enough = 4.5;
    constexpr int steps = 32;
    const QColor strongest = isDark() ? Qt::white : Qt::black;
    for (int step = 0; step < steps; ++step) {
        const auto candidate = mixed(wanted, strongest, static_cast<double>(step) / steps);
        if (contrast(candidate, opacity) >= enough)
            return candidate;
    }
    return strongest;
}

/// Finding them is slow, and every text asks.
const Theme::ReadableColors& Theme::readableColors() const {
    static QPalette known;
    static std::optional<ReadableColors> colors;
    if (!colors || palette != known) {
        known = palette;
        const auto quiet = mixed(palette.color(QPalette::WindowText), panelBackground(), 0.25);
        const auto red = isDark() ? QColor(255, 105, 97) : QColor(208, 35, 30);
        colors = {readable(quiet, quietOpacity), readable(red, 1)};
    }
    return *colors;
}

QFont Theme::font(Font font, FontWeight weight) {
    auto result = QApplication::font();
    result.setPointSizeF(systemPointSize() * scaleOf(font));
    result.setWeight(weight == FontWeight::semibold ? QFont::DemiBold : QFont::Normal);
    return result;
}

std::optional<std::pair<Font, FontWeight>> Theme::recordOf(const QFont& shown) {
    for (const auto candidate : allFonts)
        for (const auto weight : {FontWeight::regular, FontWeight::semibold})
            if (font(candidate, weight) == shown)
                return std::pair(candidate, weight);
    return std::nullopt;
}

QColor Theme::panelBackground() const {
    return mixed(palette.color(QPalette::Window), palette.color(QPalette::Base),
                 isDark() ? 0.25 : 0.7);
}

QColor Theme::panelBorder() const {
    return withOpacity(palette.color(QPalette::WindowText), isDark() ? 0.22 : 0.16);
}

QColor Theme::divider() const {
    return withOpacity(palette.color(QPalette::WindowText), isDark() ? 0.14 : 0.1);
}

QColor Theme::focusRing() const {
    return withOpacity(palette.color(QPalette::Highlight), 0.85);
}

} // namespace quoxelin
