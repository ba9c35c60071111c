#include "Platform/Linux/QtStatusBar.h"

#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/TemplateImage.h"
#include "Platform/Linux/TrayWatch.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QSystemTrayIcon>

namespace quoxelin {

/// Its icon comes with the tray.
class QtStatusBar::Button final : public QObject, public NSStatusBarButton {
  public:
    explicit Button(QtStatusBar& bar)
        : bar(bar), contextMenu(bar.contextMenu), clicks(bar.clicks), watch([this] { appear(); }) {
        qApp->installEventFilter(this);
        clicks.setStatusItemArea([this] { return area(); });
        bar.button = this;
    }

    ~Button() override {
        clicks.setStatusItemArea(nullptr);
        if (bar.button == this)
            bar.button = nullptr;
    }

    void setImage(std::shared_ptr<NSImage> newImage) override {
        image = std::static_pointer_cast<TemplateImage>(newImage);
        refresh();
    }

    void setTitle(const std::string& newTitle) override {
        title = newTitle;
        refresh();
    }

    void setAction(std::function<void()> newAction) override { action = std::move(newAction); }

    /// Trays of the newer kind do not tell where the icon is, but it has just been clicked.
    std::optional<NSRect> frameOnScreen() const override {
        const auto known = area();
        return fromScreen(known.isEmpty() ? QRect(QCursor::pos(), QSize(0, 0)) : known);
    }

    void click() {
        if (action)
            action();
    }

  protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (object == qApp && event->type() == QEvent::ApplicationPaletteChange)
            refresh();
        return false;
    }

  private:
    QRect area() const { return icon == nullptr ? QRect() : icon->geometry(); }

    void appear() {
        icon = std::make_unique<QSystemTrayIcon>();
        icon->setToolTip(QApplication::applicationDisplayName());
        icon->setContextMenu(&contextMenu);
        connect(icon.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) { activated(reason); });
        refresh();
        icon->show();
        if (bar.appeared)
            bar.appeared();
    }

    void refresh() {
        if (icon == nullptr)
            return;
        const auto tint = QApplication::palette().color(QPalette::WindowText);
        icon->setIcon(image ? image->icon(tint) : textIcon(title, tint));
    }

    void activated(QSystemTrayIcon::ActivationReason reason) {
        // The second of two quick clicks comes as a double click.
        if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick)
            return;
        if (area().isEmpty() && clicks.takeClickOnStatusItem())
            return;
        click();
    }

    QtStatusBar& bar;
    QMenu& contextMenu;
    ClickWatch& clicks;
    std::shared_ptr<TemplateImage> image;
    std::string title;
    std::function<void()> action;
    std::unique_ptr<QSystemTrayIcon> icon;
    TrayWatch watch;
};

class QtStatusBar::Item final : public NSStatusItem {
  public:
    explicit Item(QtStatusBar& bar) : ownButton(bar) {}
    NSStatusBarButton* button() override { return &ownButton; }

  private:
    Button ownButton;
};

bool QtStatusBar::hasTray() {
    return TrayWatch::hasTray();
}

void QtStatusBar::click() {
    if (button != nullptr)
        button->click();
}

/// A tray's icons are all square.
std::unique_ptr<NSStatusItem> QtStatusBar::statusItemWithLength(double) {
    return std::make_unique<Item>(*this);
}

std::shared_ptr<NSImage> QtStatusBar::imageNamed(const std::string& name) {
    return TemplateImage::named(name);
}

} // namespace quoxelin
