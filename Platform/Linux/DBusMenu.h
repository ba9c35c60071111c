#pragma once

#include "Platform/Linux/Services/Bus.h"

#include <QMenu>

namespace quoxelin {

/// A menu without submenus, offered to trays on the session bus (com.canonical.dbusmenu). Main
/// thread only.
class DBusMenu final : public QObject {
  public:
    static constexpr const char* path = "/MenuBar";

    /// The bus and the menu must outlive this object.
    DBusMenu(Bus& bus, QMenu& menu);

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    static const sd_bus_vtable table[];
    static int getLayout(sd_bus_message* message, void* self, sd_bus_error*);
    static int getGroupProperties(sd_bus_message* message, void* self, sd_bus_error*);
    static int takeOne(sd_bus_message* message, void* self, sd_bus_error*);
    static int takeGroup(sd_bus_message* message, void* self, sd_bus_error*);

    QAction* actionOf(int id) const;
    int appendProperties(sd_bus_message* message, int id) const;
    int appendItem(sd_bus_message* message, int id) const;
    void takeEvent(sd_bus_message* message) const;

    Bus& bus;
    QMenu& menu;
    std::uint32_t revision = 1;
    Subscription object;
};

} // namespace quoxelin
