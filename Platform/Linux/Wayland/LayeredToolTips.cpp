#include "Platform/Linux/Wayland/LayeredToolTips.h"

#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/ScreenGeometry.h"

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

namespace quoxelin {

namespace {

constexpr int tipMargin = 4;

bool isLayered(const QWidget& window) {
    return window.windowFlags().testFlag(Qt::BypassWindowManagerHint);
}

} // namespace

LayeredToolTips::LayeredToolTips() {
    if (LayerShell::instance() != nullptr)
        qApp->installEventFilter(this);
}

bool LayeredToolTips::eventFilter(QObject* object, QEvent* event) {
    auto* const widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr)
        return false;
    switch (event->type()) {
    case QEvent::ToolTip:
        if (widget->toolTip().isEmpty() || !isLayered(*widget->window()))
            return false;
        show(*widget->window(), widget->toolTip(), static_cast<QHelpEvent*>(event)->globalPos());
        return true;
    case QEvent::Leave:
    case QEvent::MouseButtonPress:
    case QEvent::KeyPress:
    case QEvent::Wheel:
    case QEvent::Hide:
        if (tip && widget != tip.get())
            tip.reset();
        return false;
    default:
        return false;
    }
}

void LayeredToolTips::show(QWidget& window, const QString& text, const QPoint& pointer) {
    tip = std::make_unique<LayeredWindow<QLabel>>(text, nullptr, Qt::ToolTip);
    tip->setAttribute(Qt::WA_TransparentForMouseEvents);
    tip->setPalette(QToolTip::palette());
    tip->setFont(QToolTip::font());
    tip->setFrameShape(QFrame::Box);
    tip->setMargin(tipMargin);
    tip->setAutoFillBackground(true);
    tip->setWordWrap(true);
    tip->setMaximumWidth(window.width());
    tip->adjustSize();
    // On a layer shell, what is above what is up to the compositor.
    const auto* card = dynamic_cast<const FloatingWindow*>(&window);
    tip->move(placeBeside(card ? card->card() : window.geometry(), pointer.y(), tip->size()));
    tip->show();
}

} // namespace quoxelin
