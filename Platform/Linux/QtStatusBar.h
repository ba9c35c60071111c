#pragma once

#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/NSStatusBar.h"

#include <QMenu>

namespace quoxelin {

class ClickWatch;

/// The desktop's tray as the status bar: of the newer kind, which is found on the session's bus, or
/// where there is none of the older kind, which windows are embedded in. An item's icon comes with
/// the tray, and moves to another one.
class QtStatusBar final : public QObject, public NSStatusBar {
  public:
    /// The menu opens by the tray's other button. All outlive the items.
    QtStatusBar(QMenu& contextMenu, ClickWatch& clicks, Bus& sessionBus);
    ~QtStatusBar() override;

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;

    /// Calls the observer whenever a tray has come or gone. There is none until it is known.
    bool hasTray() const;
    Subscription observeTray(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }

    /// Does what a click on the latest item does; also without a tray.
    void click();

  private:
    class Button;
    class Item;

    void follow();

    QMenu& contextMenu;
    ClickWatch& clicks;
    Bus& bus;
    ServicePresence watcher;
    ObserverList<> observers;
    Button* button = nullptr;
};

} // namespace quoxelin
