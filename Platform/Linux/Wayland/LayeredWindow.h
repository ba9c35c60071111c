#pragma once

#include "Platform/Linux/Wayland/LayerShell.h"

#include <QMoveEvent>
#include <QResizeEvent>
#include <QWidget>
#include <QWindow>

namespace quoxelin {

/// Gives the hidden window of a widget a surface of the layer shell.
std::unique_ptr<LayerSurface> layerSurfaceOf(QWidget& widget, LayerShell& shell);

/// A window of that class which keeps its place on a Wayland desktop, above all others, if the
/// compositor has a layer shell. Elsewhere nothing changes.
template <typename Widget>
class LayeredWindow : public Widget {
  public:
    using Widget::Widget;

    void setVisible(bool visible) override {
        auto* const shell = LayerShell::instance();
        if (shell == nullptr || visible == this->isVisible()) {
            Widget::setVisible(visible);
        } else if (visible) {
            surface = layerSurfaceOf(*this, *shell);
            Widget::setVisible(true);
        } else {
            surface.reset();
            Widget::setVisible(false);
            // The next surface must have no role of this one.
            this->windowHandle()->destroy();
        }
    }

  protected:
    void moveEvent(QMoveEvent* event) override {
        Widget::moveEvent(event);
        if (surface)
            surface->setPlace(this->geometry());
    }

    void resizeEvent(QResizeEvent* event) override {
        Widget::resizeEvent(event);
        if (surface)
            surface->setPlace(this->geometry());
    }

  private:
    std::unique_ptr<LayerSurface> surface;
};

} // namespace quoxelin
