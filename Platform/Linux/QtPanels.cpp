#include "Platform/Linux/QtPanels.h"

#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/QtHostingView.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <cmath>

namespace quoxelin {

namespace {

/// What the application leaves between the icon and the panel.
constexpr int gapBelowIcon = 5;

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
        window.setWindowTitle(QString::fromStdString(options.title));
        window.setHasShadow(options.hasShadow);
        window.setEscapePressed([this] { orderOut(); });
        window.setResized([this] { moveToPlace(); });
    }

    std::optional<NSRect> contentViewBounds() const override { return bounds; }

    void setContentView(const NSVisualEffectView& view) override {
        window.setCornerRadius(static_cast<int>(std::lround(view.cornerRadius)));
        content = std::static_pointer_cast<QtHostingView>(view.subview);
        if (content)
            window.setContent(content->widget());
    }

    NSRect frame() const override {
        fitContent();
        return fromScreen(window.card());
    }

    void setFrameOrigin(double x, double y) override {
        if (auto* shell = LayerShell::instance())
            shell->measureScreens();
        fitContent();
        wanted = topLeftOnScreen(x, y, window.card().height());
        window.setScreenPoint(iconPlace());
        window.fitContent();
        moveToPlace();
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
    void fitContent() const {
        if (content)
            content->catchUp();
        window.fitContent();
    }

    QPoint iconPlace() const {
        return wanted + QPoint((window.card().width() - 1) / 2, -gapBelowIcon - 1);
    }

    /// Not from the window's present place, which a window manager may be changing.
    void moveToPlace() {
        // It stays where it is, and Qt would place its popovers beside where it is not.
        if (window.isVisible() && LayerShell::isMissing())
            return;
        const QRect card(wanted, window.card().size());
        window.moveCard(movedOntoScreen(card, iconPlace()).topLeft());
    }

    NSRect bounds;
    /// The requested upper left corner.
    QPoint wanted;
    std::shared_ptr<QtHostingView> content;
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
