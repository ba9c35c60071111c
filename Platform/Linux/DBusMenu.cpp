#include "Platform/Linux/DBusMenu.h"

#include <QAction>
#include <QEvent>
#include <string_view>

namespace quoxelin {

namespace {

constexpr const char* menuInterface = "com.canonical.dbusmenu";
constexpr int menuRoot = 0;

/// An underscore in a label marks a shortcut key.
QByteArray label(const QAction& action) {
    return action.text().replace('_', "__").toUtf8();
}

int aboutToShow(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, "b", 0);
}

int aboutToShowGroup(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, "aiai", 0, 0);
}

int valueOf(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void*,
            sd_bus_error*) {
    const std::string_view asked = name;
    if (asked == "Version")
        return sd_bus_message_append(reply, "u", 3);
    if (asked == "IconThemePath")
        return sd_bus_message_append(reply, "as", 0);
    return sd_bus_message_append(reply, "s", asked == "Status" ? "normal" : "ltr");
}

int reply(sd_bus_message* call, const std::function<int(sd_bus_message*)>& write) {
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_return(call, &made);
    if (result >= 0)
        result = write(made);
    if (result >= 0)
        result = sd_bus_message_send(made);
    sd_bus_message_unref(made);
    return result;
}

} // namespace

const sd_bus_vtable DBusMenu::table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", getLayout, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", getGroupProperties,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Event", "isvu", "", takeOne, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", takeGroup, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShow", "i", "b", aboutToShow, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", aboutToShowGroup, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Version", "u", valueOf, 0, 0),
    SD_BUS_PROPERTY("TextDirection", "s", valueOf, 0, 0),
    SD_BUS_PROPERTY("Status", "s", valueOf, 0, 0),
    SD_BUS_PROPERTY("IconThemePath", "as", valueOf, 0, 0),
    SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
    SD_BUS_VTABLE_END,
};

DBusMenu::DBusMenu(Bus& bus, QMenu& menu)
    : bus(bus), menu(menu), object(bus.serveObject(path, menuInterface, table, this)) {
    menu.installEventFilter(this);
}

bool DBusMenu::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::ActionAdded || event->type() == QEvent::ActionChanged ||
        event->type() == QEvent::ActionRemoved)
        bus.emitSignal(path, menuInterface, "LayoutUpdated", [this](auto* message) {
            return sd_bus_message_append(message, "ui", ++revision, menuRoot);
        });
    return false;
}

/// Items are numbered from 1. Null for the menu itself and for unknown numbers.
QAction* DBusMenu::actionOf(int id) const {
    return menu.actions().value(id - 1);
}

int DBusMenu::appendProperties(sd_bus_message* message, int id) const {
    const auto* action = actionOf(id);
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    if (id == menuRoot)
        sd_bus_message_append(message, "{sv}", "children-display", "s", "submenu");
    else if (action != nullptr && action->isSeparator())
        sd_bus_message_append(message, "{sv}", "type", "s", "separator");
    else if (action != nullptr) {
        sd_bus_message_append(message, "{sv}", "label", "s", label(*action).constData());
        sd_bus_message_append(message, "{sv}", "enabled", "b", action->isEnabled() ? 1 : 0);
    }
    return sd_bus_message_close_container(message);
}

int DBusMenu::appendItem(sd_bus_message* message, int id) const {
    sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT, "ia{sv}av");
    sd_bus_message_append(message, "i", id);
    appendProperties(message, id);
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "v");
    for (int child = 1; id == menuRoot && child <= menu.actions().size(); ++child) {
        sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT, "(ia{sv}av)");
        appendItem(message, child);
        sd_bus_message_close_container(message);
    }
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

int DBusMenu::getLayout(sd_bus_message* message, void* data, sd_bus_error*) {
    const auto& self = *static_cast<DBusMenu*>(data);
    int parent = menuRoot;
    sd_bus_message_read(message, "i", &parent);
    return reply(message, [&](auto* layout) {
        sd_bus_message_append(layout, "u", self.revision);
        return self.appendItem(layout, parent);
    });
}

int DBusMenu::getGroupProperties(sd_bus_message* message, void* data, sd_bus_error*) {
    const auto& self = *static_cast<DBusMenu*>(data);
    const void* ids = nullptr;
    std::size_t size = 0;
    sd_bus_message_read_array(message, SD_BUS_TYPE_INT32, &ids, &size);
    return reply(message, [&](auto* answer) {
        sd_bus_message_open_container(answer, SD_BUS_TYPE_ARRAY, "(ia{sv})");
        for (std::size_t place = 0; place < size / sizeof(std::int32_t); ++place) {
            const auto id = static_cast<const std::int32_t*>(ids)[place];
            sd_bus_message_open_container(answer, SD_BUS_TYPE_STRUCT, "ia{sv}");
            sd_bus_message_append(answer, "i", id);
            self.appendProperties(answer, id);
            sd_bus_message_close_container(answer);
        }
        return sd_bus_message_close_container(answer);
    });
}

/// Triggers items from the event loop, because an item may quit the application.
void DBusMenu::takeEvent(sd_bus_message* message) const {
    int id = menuRoot;
    const char* kind = nullptr;
    sd_bus_message_read(message, "is", &id, &kind);
    sd_bus_message_skip(message, "vu");
    if (auto* action = actionOf(id); action != nullptr && std::string_view(kind) == "clicked")
        QMetaObject::invokeMethod(action, &QAction::trigger, Qt::QueuedConnection);
}

int DBusMenu::takeOne(sd_bus_message* message, void* self, sd_bus_error*) {
    static_cast<DBusMenu*>(self)->takeEvent(message);
    return sd_bus_reply_method_return(message, nullptr);
}

int DBusMenu::takeGroup(sd_bus_message* message, void* self, sd_bus_error*) {
    sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(isvu)");
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, "isvu") > 0) {
        static_cast<DBusMenu*>(self)->takeEvent(message);
        sd_bus_message_exit_container(message);
    }
    return sd_bus_reply_method_return(message, "ai", 0);
}

} // namespace quoxelin
