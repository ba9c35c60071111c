#include "Platform/Linux/QtStatusBar.h"

#include "Platform/Linux/BarColor.h"
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/StatusNotifierItem.h"
#include "Platform/Linux/TemplateImage.h"
#include "Platform/Linux/X11Desktop.h"

#include <QApplication>
#include <QCursor>
#include <QPointer>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTimer>

namespace quoxelin {

namespace {

constexpr std::chrono::milliseconds trayPatience{500};

/// The name of the symbolic icon; empty if the application is not installed.
QString installedIcon() {
    const auto name = QGuiApplication::desktopFileName() + "-symbolic";
    const auto file = "icons/hicolor/symbolic/apps/" + name + ".svg";
    const bool isInstalled =
        !QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty();
    return isInstalled ? name : QString();
}

} // namespace

class QtStatusBar::Button final : public QObject, public NSStatusBarButton {
  public:
    explicit Button(QtStatusBar& bar) : bar(bar) {
        bar.clicks.setStatusItemArea([this] { return area(); });
        bar.button = this;
        move();
    }

    ~Button() override {
        bar.clicks.setStatusItemArea(nullptr);
        if (bar.button == this)
            bar.button = nullptr;
    }

    void setImage(std::shared_ptr<NSImage> newImage) override {
        image = std::static_pointer_cast<TemplateImage>(newImage);
        refresh();
    }

    void setTitle(const std::string& newTitle) override {
        if (std::exchange(title, newTitle) != newTitle)
            refresh();
    }

    void setToolTip(const std::string& newToolTip) override {
        toolTip = QString::fromStdString(newToolTip);
        showToolTip();
    }

    void setAction(std::function<void()> newAction) override { action = std::move(newAction); }

    /// StatusNotifierItem trays do not report where the icon is, only where it was clicked.
    std::optional<NSRect> frameOnScreen() const override {
        const auto known = area();
        return fromScreen(known.isEmpty() ? QRect(lastClick.value_or(trayCorner()), QSize(1, 1))
                                          : known);
    }

    void click() {
        if (action)
            action();
    }

    /// Moves the icon to the current tray. An embedded icon reappears by itself when its tray
    /// returns.
    void move() {
        if (bar.watcher.isPresent()) {
            embedded.reset();
            if (!item) {
                item.emplace(bar.bus, bar.contextMenu, [this](QPoint place) { activate(place); });
                shown.reset();
            }
        } else {
            item.reset();
            if (!embedded && bar.hasTray())
                embed();
        }
        refresh();
        showToolTip();
    }

  private:
    /// Everything that the icon's pictures are drawn from.
    struct Look {
        std::shared_ptr<TemplateImage> image;
        std::string title;
        QColor tint;
        bool operator==(const Look&) const = default;
    };

    QRect area() const { return embedded ? embedded->geometry() : QRect(); }

    void embed() {
        embedded = std::make_unique<QSystemTrayIcon>();
        shown.reset();
        embedded->setContextMenu(&bar.contextMenu);
        connect(embedded.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    // Qt reports the second of two quick clicks as a double click.
                    if (reason == QSystemTrayIcon::Trigger ||
                        reason == QSystemTrayIcon::DoubleClick)
                        activate(QCursor::pos());
                });
        refresh();
        embedded->show();
        // The tray has given it a place by then, whose color can be read.
        QTimer::singleShot(trayPatience, embedded.get(), [this] { refresh(); });
    }

    /// Drawing takes milliseconds, and the application sets its image again on each click.
    void refresh() {
        if (!item && !embedded)
            return;
        const auto tint = colorForIconAt(area());
        Look look{image, title, tint};
        if (shown == look)
            return;
        shown = std::move(look);
        const auto icon = image ? image->icon(tint) : textIcon(title, tint);
        if (item)
            item->setIcon(image ? installedIcon() : QString(), icon);
        if (embedded)
            embedded->setIcon(icon);
    }

    void showToolTip() {
        if (item)
            item->setToolTip(toolTip);
        if (embedded)
            embedded->setToolTip(toolTip);
    }

    void activate(const QPoint& reported) {
        if (area().isEmpty()) {
            if (const auto place = bar.clicks.placeOfClick(reported))
                lastClick = place;
            if (bar.clicks.takeClickOnStatusItem())
                return;
        }
        bar.clicks.findPointer([self = QPointer(this)](std::optional<QPoint> place) {
            if (!self)
                return;
            if (place)
                self->lastClick = place;
            self->click();
        });
    }

    QtStatusBar& bar;
    std::shared_ptr<TemplateImage> image;
    std::string title;
    QString toolTip;
    std::function<void()> action;
    std::optional<QPoint> lastClick;
    std::optional<Look> shown;
    std::optional<StatusNotifierItem> item;
    std::unique_ptr<QSystemTrayIcon> embedded;
};

class QtStatusBar::Item final : public NSStatusItem {
  public:
    explicit Item(QtStatusBar& bar) : ownButton(bar) {}
    NSStatusBarButton* button() override { return &ownButton; }

  private:
    Button ownButton;
};

QtStatusBar::QtStatusBar(QMenu& contextMenu, ClickWatch& clicks, Bus& sessionBus)
    : contextMenu(contextMenu), clicks(clicks), bus(sessionBus),
      watcher(sessionBus, StatusNotifierItem::watcher, ServicePresence::Counts::running,
              [this] { follow(); }) {
    if (auto* x11 = X11Desktop::instance())
        // A tray of both kinds becomes an XEmbed tray first. An icon that is embedded then may be
        // registered by the toolkit, too.
        x11->setTrayAppeared(
            [this] { QTimer::singleShot(trayPatience, this, [this] { follow(); }); });
}

QtStatusBar::~QtStatusBar() {
    if (auto* x11 = X11Desktop::instance())
        x11->setTrayAppeared(nullptr);
}

bool QtStatusBar::hasTray() const {
    const auto* x11 = X11Desktop::instance();
    return watcher.isPresent() || (watcher.isKnown() && x11 != nullptr && x11->hasTray());
}

void QtStatusBar::follow() {
    if (button != nullptr)
        button->move();
    observers.notify();
}

void QtStatusBar::click() {
    if (button != nullptr)
        button->click();
}

/// Trays show square icons only.
std::unique_ptr<NSStatusItem> QtStatusBar::statusItemWithLength(double) {
    return std::make_unique<Item>(*this);
}

std::shared_ptr<NSImage> QtStatusBar::imageNamed(const std::string& name) {
    auto& image = images[name];
    if (!image)
        image = TemplateImage::named(name);
    return image;
}

} // namespace quoxelin
