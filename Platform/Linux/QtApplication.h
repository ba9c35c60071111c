#pragma once

#include "Base/NotificationCenter.h"
#include "Platform/Linux/MainMenu.h"

#include <QObject>

namespace quoxelin {

/// The running application on Qt's event loop. Create it after the QApplication object.
class QtApplication final : public QObject, public NSApplication {
  public:
    explicit QtApplication(NotificationCenter& notificationCenter);

    int run(NSApplicationDelegate& delegate) override;
    void terminate() override;
    void activateIgnoringOtherApps() override;
    void setMainMenu(const std::vector<NSMenuItem>& submenu) override;

    /// `opening` opens the panel. Call before the menu is set.
    void setOpening(std::function<void()> opening) { menu.setOpening(std::move(opening)); }

    QMenu& mainMenu() { return menu.menu(); }

  private:
    NotificationCenter& notificationCenter;
    MainMenu menu{*this};
};

} // namespace quoxelin
