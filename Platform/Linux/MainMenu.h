#pragma once

#include "Platform/NSApplication.h"

#include <QMenu>

namespace quoxelin {

/// Binds the main menu's items to a Qt menu. Desktops have no application menu for a program
/// without windows, so it becomes the status item's context menu. Key equivalents are left out,
/// because they would only work while the menu is open.
class MainMenu {
  public:
    explicit MainMenu(NSApplication& application) : application(application) {}

    /// Adds an item in front, which opens the panel: some trays open the menu on every click.
    void setOpening(std::function<void()> handler) { opening = std::move(handler); }

    void setItems(const std::vector<NSMenuItem>& items);
    QMenu& menu() { return widget; }

  private:
    /// Null if this desktop has no such action.
    std::function<void()> standardAction(const std::string& selector);

    NSApplication& application;
    std::function<void()> opening;
    QMenu widget;
};

} // namespace quoxelin
