#pragma once

#include "Platform/Linux/DBusMenu.h"

#include <QIcon>

namespace quoxelin {

/// An icon in a StatusNotifierItem tray, offered on the session bus. Main thread only.
class StatusNotifierItem {
  public:
    static constexpr const char* watcher = "org.kde.StatusNotifierWatcher";

    /// Registers with the tray, and with any that replaces it. The tray's other mouse button opens
    /// the menu. `activated` gets the place of the click as the tray reports it. The bus and the
    /// menu must outlive this object.
    StatusNotifierItem(Bus& bus, QMenu& menu, std::function<void(QPoint)> activated);

    void setIcon(const QIcon& newIcon);

  private:
    static const sd_bus_vtable table[];
    static int property(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply,
                        void* self, sd_bus_error*);
    void enroll();

    Bus& bus;
    std::function<void(QPoint)> activated;
    QIcon icon;
    DBusMenu menu;
    Subscription object;
    Subscription enrollment;
    Subscription watcherObservation;
};

} // namespace quoxelin
