#pragma once

#include "Platform/Linux/DBusMenu.h"

#include <QIcon>

namespace quoxelin {

/// An icon in a tray of the newer kind, which shows what applications offer on the session's bus.
/// Main thread only.
class StatusNotifierItem {
  public:
    static constexpr const char* watcher = "org.kde.StatusNotifierWatcher";

    /// Registers with the tray, and again with another that takes its place. The bus and the menu,
    /// which opens by the tray's other button, live longer.
    StatusNotifierItem(Bus& bus, QMenu& menu, std::function<void()> activated);

    void setIcon(const QIcon& newIcon);

  private:
    static const sd_bus_vtable table[];
    static int property(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply,
                        void* self, sd_bus_error*);
    void enroll();

    Bus& bus;
    std::function<void()> activated;
    QIcon icon;
    DBusMenu menu;
    Subscription object;
    Subscription enrollment;
    Subscription watcherObservation;
};

} // namespace quoxelin
