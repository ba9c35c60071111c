#include "Platform/Linux/BarColor.h"

#include "Platform/Linux/X11Desktop.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <algorithm>
#include <map>
#include <optional>

namespace quoxelin {

namespace {

/// Has a contrast of at least 3 to black, to white and to what bars usually are.
constexpr QRgb grayOnAnyBar = qRgb(0x85, 0x85, 0x85);
constexpr QRgb darkOnLightBar = qRgb(0x2e, 0x34, 0x36);
constexpr QRgb lightOnDarkBar = qRgb(0xf2, 0xf2, 0xf2);

/// The icon covers less of the place than the bar.
std::optional<QRgb> mostFrequentColor(const QImage& image) {
    std::map<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    const auto most =
        std::max_element(counts.begin(), counts.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == counts.end() ? std::nullopt : std::optional(most->first);
}

} // namespace

QColor colorForIconAt(const QRect& icon) {
    auto* const screen = QGuiApplication::screenAt(icon.center());
    if (icon.isEmpty() || screen == nullptr || X11Desktop::instance() == nullptr)
        return grayOnAnyBar;
    const auto place = icon.translated(-screen->geometry().topLeft());
    const auto shown = screen->grabWindow(0, place.x(), place.y(), place.width(), place.height());
    const auto bar = mostFrequentColor(shown.toImage());
    if (!bar)
        return grayOnAnyBar;
    return qGray(*bar) < 0x80 ? lightOnDarkBar : darkOnLightBar;
}

} // namespace quoxelin
