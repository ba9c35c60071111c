#pragma once

#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/NSStatusBar.h"

#include <QMenu>
#include <map>

namespace quoxelin {

class ClickWatch;
class TemplateImage;

/// The desktop's tray as the status bar: a StatusNotifierItem tray on the session bus, or else an
/// XEmbed tray. An item's icon appears with the tray and moves to a new one.
class QtStatusBar final : public QObject, public NSStatusBar {
  public:
    /// The tray's other mouse button opens the menu. All three must outlive the items.
    QtStatusBar(QMenu& contextMenu, ClickWatch& clicks, Bus& sessionBus);
    ~QtStatusBar() override;

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;

    /// `hasTray` is false until a tray is found. The observer is called whenever a tray appears or
    /// disappears.
    bool hasTray() const;
    Subscription observeTray(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }

    /// Acts like a click on the latest item; also works without a tray.
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
    std::map<std::string, std::shared_ptr<TemplateImage>> images;
    Button* button = nullptr;
};

} // namespace quoxelin
