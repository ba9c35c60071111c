#include "Platform/Linux/Wayland/LayeredToolTips.h"

#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/TextView.h"

#include <QApplication>
#include <QToolTip>

namespace quoxelin {

namespace {

constexpr int tipMargin = 4;

bool isLayered(const QWidget& window) {
    return window.windowFlags().testFlag(Qt::BypassWindowManagerHint);
}

} // namespace

LayeredToolTips* LayeredToolTips::instance = nullptr;

LayeredToolTips::LayeredToolTips() {
    if (LayerShell::instance() == nullptr)
        return;
    instance = this;
    qApp->installEventFilter(this);
}

LayeredToolTips::~LayeredToolTips() {
    instance = nullptr;
}

bool LayeredToolTips::show(const QWidget& widget, const QString& text, const QPoint& pointer) {
    if (instance == nullptr || !isLayered(*widget.window()))
        return false;
    instance->showBeside(*widget.window(), text, pointer);
    return true;
}

bool LayeredToolTips::eventFilter(QObject* object, QEvent* event) {
    auto* const widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr)
        return false;
    switch (event->type()) {
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

void LayeredToolTips::showBeside(const QWidget& window, const QString& text,
                                 const QPoint& pointer) {
    QStringList lines;
    for (const auto& paragraph : text.split('\n'))
        lines += wrapped(paragraph, QToolTip::font(), window.width());
    tip = std::make_unique<LayeredWindow<QLabel>>(lines.join('\n'), nullptr, Qt::ToolTip);
    tip->setTextFormat(Qt::PlainText);
    tip->setAttribute(Qt::WA_TransparentForMouseEvents);
    tip->setPalette(QToolTip::palette());
    tip->setFont(QToolTip::font());
    tip->setFrameShape(QFrame::Box);
    tip->setMargin(tipMargin);
    tip->setAutoFillBackground(true);
    tip->adjustSize();
    // On a layer shell, what is above what is up to the compositor.
    const auto* card = dynamic_cast<const FloatingWindow*>(&window);
    tip->move(placeBeside(card ? card->card() : window.geometry(), pointer.y(), tip->size()));
    tip->show();
}

} // namespace quoxelin
