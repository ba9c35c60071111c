#include "Platform/Linux/ScrollView.h"

#include "Platform/Linux/Theme.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionSlider>
#include <algorithm>

namespace quoxelin {

namespace {
constexpr int barWidth = 8;
constexpr int shortestHandle = 24;
} // namespace

int ThinScrollBarStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                                  QStyleHintReturn* data) const {
    // It lies over the content.
    return hint == SH_ScrollBar_Transient ? 1 : QProxyStyle::styleHint(hint, option, widget, data);
}

int ThinScrollBarStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                                    const QWidget* widget) const {
    return metric == PM_ScrollBarExtent ? barWidth
                                        : QProxyStyle::pixelMetric(metric, option, widget);
}

QRect ThinScrollBarStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                         SubControl part, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || bar == nullptr)
        return QProxyStyle::subControlRect(control, option, part, widget);
    const auto groove = bar->rect;
    const int range = bar->maximum - bar->minimum;
    const int whole = std::max(1, range + bar->pageStep);
    const int handle = std::clamp(static_cast<int>(qint64(groove.height()) * bar->pageStep / whole),
                                  std::min(shortestHandle, groove.height()), groove.height());
    const int top =
        groove.top() + sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                               groove.height() - handle);
    const QRect slider(groove.left(), top, groove.width(), handle);
    switch (part) {
    case SC_ScrollBarGroove:
        return groove;
    case SC_ScrollBarSlider:
        return slider;
    case SC_ScrollBarSubPage:
        return {groove.topLeft(), QSize(groove.width(), slider.top() - groove.top())};
    case SC_ScrollBarAddPage:
        return {QPoint(groove.left(), slider.bottom() + 1), groove.bottomRight()};
    default:
        return {};
    }
}

void ThinScrollBarStyle::drawComplexControl(ComplexControl control,
                                            const QStyleOptionComplex* option, QPainter* painter,
                                            const QWidget* widget) const {
    if (control != CC_ScrollBar)
        return QProxyStyle::drawComplexControl(control, option, painter, widget);
    // The toolkit may show the bar for a moment when a window opens, even if all is in view.
    if (const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
        bar == nullptr || bar->maximum <= bar->minimum)
        return;
    const auto handle =
        QRectF(subControlRect(control, option, SC_ScrollBarSlider, widget)).adjusted(2, 1, -2, -1);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(Theme().color(Color::gray, 0.8));
    painter->drawRoundedRect(handle, handle.width() / 2, handle.width() / 2);
    painter->restore();
}

ScrollView::ScrollView(QWidget* parent) : QScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    verticalScrollBar()->setStyle(&style);
    verticalScrollBar()->setAutoFillBackground(false);
}

ScrollView::~ScrollView() {
    verticalScrollBar()->setStyle(nullptr);
}

void ScrollView::keyPressEvent(QKeyEvent* event) {
    event->ignore();
}

void scrollIntoView(QWidget& widget) {
    for (auto* parent = widget.parentWidget(); parent != nullptr; parent = parent->parentWidget())
        if (auto* view = dynamic_cast<ScrollView*>(parent))
            view->ensureWidgetVisible(&widget, 0, 0);
}

} // namespace quoxelin
