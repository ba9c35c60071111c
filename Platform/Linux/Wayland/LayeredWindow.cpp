#include "Platform/Linux/Wayland/LayeredWindow.h"

#include "Platform/Linux/ScreenGeometry.h"

#include <QWindow>

namespace quoxelin {

std::unique_ptr<LayerSurface> layerSurfaceOf(QWidget& widget, LayerShell& shell) {
    if (!widget.windowFlags().testFlag(Qt::BypassWindowManagerHint))
        widget.setWindowFlag(Qt::BypassWindowManagerHint);
    widget.winId();
    const auto* beside = widget.parentWidget() ? widget.parentWidget()->window() : &widget;
    auto* const screen = screenAt(beside->geometry().center());
    auto& window = *widget.windowHandle();
    window.setScreen(screen);
    window.create();
    const auto kind = widget.windowType() == Qt::ToolTip  ? LayerSurface::Kind::tip
                      : widget.windowType() == Qt::Dialog ? LayerSurface::Kind::dialog
                                                          : LayerSurface::Kind::card;
    return std::make_unique<LayerSurface>(shell, window, *screen, kind, widget.geometry());
}

} // namespace quoxelin
