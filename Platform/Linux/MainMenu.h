#pragma once

#include "Platform/NSApplication.h"

#include <QMenu>

namespace quoxelin {

/// Binds the main menu's items to a Qt menu. Desktops have no application menu for a program
/// without windows, so it becomes the status item's context menu.
class MainMenu {
  public:
    explicit MainMenu(NSApplication& application) : application(application) {}

    void setItems(const std::vector<NSMenuItem>& items);
    QMenu& menu() { return widget; }

  private:
    /// Null if this desktop has no such action.
    std::function<void()> standardAction(const std::string& selector);

    NSApplication& application;
    QMenu widget;
};

} // namespace quoxelin
