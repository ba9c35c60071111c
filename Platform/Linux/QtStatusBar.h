#pragma once

#include "Platform/NSStatusBar.h"

#include <QMenu>
#include <functional>

namespace quoxelin {

class ClickWatch;

/// The desktop's tray as the status bar.
class QtStatusBar final : public NSStatusBar {
  public:
    /// The menu opens by the tray's other button. Both outlive the items.
    QtStatusBar(QMenu& contextMenu, ClickWatch& clicks)
        : contextMenu(contextMenu), clicks(clicks) {}

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;

    /// Whether the desktop has a tray. `appeared` is called when an item has come into it.
    static bool hasTray();
    void setAppeared(std::function<void()> newAppeared) { appeared = std::move(newAppeared); }

    /// As when somebody clicks the item that was made last; also without a tray.
    void click();

  private:
    class Button;
    class Item;

    QMenu& contextMenu;
    ClickWatch& clicks;
    std::function<void()> appeared;
    Button* button = nullptr;
};

} // namespace quoxelin
