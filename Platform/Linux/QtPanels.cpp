#include "Platform/Linux/QtPanels.h"

#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/QtHostingView.h"
#include "Platform/Linux/ScreenGeometry.h"

#include <cmath>

namespace quoxelin {

namespace {

class PanelWindow final : public FloatingWindow {
  public:
    explicit PanelWindow(Qt::WindowFlags flags) : FloatingWindow(nullptr, flags) {}

    void setDidHide(std::function<void()> handler) { didHide = std::move(handler); }

  protected:
    void hideEvent(QHideEvent* event) override {
        FloatingWindow::hideEvent(event);
        if (didHide)
            didHide();
    }

  private:
    std::function<void()> didHide;
};

Qt::WindowFlags flagsOf(const NSPanelOptions& options) {
    Qt::WindowFlags flags = Qt::Tool;
    if (options.level >= NSFloatingWindowLevel)
        flags |= Qt::WindowStaysOnTopHint;
    return flags;
}

/// Always as large as its content, whatever size is requested. The upper edge stays in place when
/// the content grows or shrinks.
class QtPanel final : public NSPanel {
  public:
    explicit QtPanel(const NSPanelOptions& options)
        : bounds{0, 0, options.contentRect.width, options.contentRect.height},
          window(flagsOf(options)) {
        window.setHasShadow(options.hasShadow);
        window.resize(static_cast<int>(std::lround(bounds.width)),
                      static_cast<int>(std::lround(bounds.height)));
        window.setEscapePressed([this] { orderOut(); });
        window.setResized([this] { window.moveCard(placeOnScreen(window.card().topLeft())); });
    }

    std::optional<NSRect> contentViewBounds() const override { return bounds; }

    void setContentView(const NSVisualEffectView& view) override {
        window.setCornerRadius(static_cast<int>(std::lround(view.cornerRadius)));
        if (const auto hosting = std::static_pointer_cast<QtHostingView>(view.subview))
            window.setContent(hosting->widget());
    }

    NSRect frame() const override {
        window.fitContent();
        return fromScreen(window.card());
    }

    void setFrameOrigin(double x, double y) override {
        window.fitContent();
        window.moveCard(placeOnScreen(topLeftOnScreen(x, y, window.card().height())));
    }

    bool isVisible() const override { return window.isVisible(); }

    void makeKeyAndOrderFront() override {
        window.show();
        window.raise();
        window.activateWindow();
    }

    void orderOut() override { window.hide(); }

    void setDidOrderOut(std::function<void()> handler) override {
        window.setDidHide(std::move(handler));
    }

  private:
    /// Uses the screen at the requested upper edge.
    QPoint placeOnScreen(const QPoint& topLeft) const {
        const QRect wanted(topLeft, window.card().size());
        const QPoint edge(wanted.center().x(), wanted.top());
        return movedOntoScreen(wanted, edge).topLeft();
    }

    NSRect bounds;
    mutable PanelWindow window;
};

} // namespace

std::unique_ptr<NSPanel> QtPanels::makePanel(const NSPanelOptions& options) {
    return std::make_unique<QtPanel>(options);
}

std::shared_ptr<NSHostingView> QtPanels::makeHostingView() {
    return std::make_shared<QtHostingView>();
}

Subscription QtPanels::addGlobalMonitorForEvents(unsigned long long mask,
                                                 std::function<void()> handler) {
    return clicks.add(mask, std::move(handler));
}

} // namespace quoxelin
