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

    /// Trays that know the name draw that icon, in their own color if it is symbolic; others draw
    /// the pictures. The name may be empty.
    void setIcon(const QString& name, const QIcon& pictures);
    void setToolTip(const QString& text);

  private:
    static const sd_bus_vtable table[];
    static int property(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply,
                        void* self, sd_bus_error*);
    void enroll();

    Bus& bus;
    std::function<void(QPoint)> activated;
    QString iconName;
    QIcon icon;
    QString toolTip;
    DBusMenu menu;
    Subscription object;
    Subscription enrollment;
    Subscription watcherObservation;
};

} // namespace quoxelin
