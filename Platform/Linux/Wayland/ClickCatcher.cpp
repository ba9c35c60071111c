#include "Platform/Linux/Wayland/ClickCatcher.h"

#include "Platform/Linux/Wayland/LayerShell.h"
#include "Platform/Linux/X11Desktop.h"

#include <QEnterEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <utility>

namespace quoxelin {

namespace {

/// A compositor reports the pointer with the next frame, or later on a busy machine.
constexpr std::chrono::milliseconds longestSearch{1000};

bool isX11OnWayland() {
    return X11Desktop::instance() != nullptr && qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

} // namespace

/// Covers one screen.
class ClickCatcher::Cover final : public QRasterWindow {
  public:
    Cover(ClickCatcher& owner, QScreen& screen) : owner(owner) {
        auto transparent = format();
        transparent.setAlphaBufferSize(8);
        setFormat(transparent);
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                 Qt::WindowDoesNotAcceptFocus);
        setScreen(&screen);
        if (auto* shell = LayerShell::instance()) {
            setFlag(Qt::BypassWindowManagerHint);
            setGeometry(screen.geometry());
            create();
            surface = std::make_unique<LayerSurface>(*shell, *this, screen,
                                                     LayerSurface::Kind::cover, geometry());
        } else {
            setGeometry(screen.availableGeometry());
        }
        show();
    }

    /// A surface must lose its role before Qt ends it.
    void takeAway() {
        surface.reset();
        hide();
        deleteLater();
    }

  protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Enter)
            owner.tell(static_cast<QEnterEvent*>(event)->globalPosition().toPoint());
        if (event->type() == QEvent::Close)
            surface.reset();
        return QRasterWindow::event(event);
    }

    void mousePressEvent(QMouseEvent* event) override { owner.pressed(event->button()); }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
    }

  private:
    ClickCatcher& owner;
    std::unique_ptr<LayerSurface> surface;
};

bool ClickCatcher::isNeeded() {
    return LayerShell::instance() != nullptr || isX11OnWayland();
}

ClickCatcher::ClickCatcher(std::function<void(Qt::MouseButton)> pressed)
    : pressed(std::move(pressed)) {
    patience.setSingleShot(true);
    patience.setInterval(longestSearch);
    QObject::connect(&patience, &QTimer::timeout, &patience, [this] { tell(std::nullopt); });
}

ClickCatcher::~ClickCatcher() = default;

void ClickCatcher::show() {
    if (!covers.empty())
        return;
    for (auto* screen : QGuiApplication::screens())
        covers.push_back(std::make_unique<Cover>(*this, *screen));
}

/// Called while one of the windows handles an event, so they end a little later.
void ClickCatcher::hide() {
    for (auto& cover : covers)
        cover.release()->takeAway();
    covers.clear();
}

void ClickCatcher::findPointer(std::function<void(std::optional<QPoint>)> newFound) {
    found = std::move(newFound);
    const auto* shell = LayerShell::instance();
    if (shell == nullptr || !shell->hasPointer() || !covers.empty()) {
        tell(std::nullopt);
        return;
    }
    show();
    patience.start();
}

void ClickCatcher::tell(std::optional<QPoint> place) {
    patience.stop();
    const auto told = std::exchange(found, nullptr);
    if (!told)
        return;
    if (auto* shell = LayerShell::instance(); shell != nullptr && place)
        shell->setIconPlace(*place);
    told(place);
}

} // namespace quoxelin
