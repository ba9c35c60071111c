#include "Platform/Linux/StatusNotifierItem.h"

#include <QApplication>
#include <QtEndian>
#include <string_view>

namespace quoxelin {

namespace {

constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* pictures = "a(iiay)";

/// Appends the icon in all its sizes, as rows of alpha, red, green and blue.
int appendPictures(sd_bus_message* message, const QIcon& icon) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "(iiay)");
    for (const auto& size : icon.availableSizes()) {
        auto image = icon.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32);
        auto* const pixels = reinterpret_cast<quint32*>(image.bits());
        qToBigEndian<quint32>(pixels, static_cast<qsizetype>(image.sizeInBytes()) / 4, pixels);
        sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT, "iiay");
        sd_bus_message_append(message, "ii", image.width(), image.height());
        sd_bus_message_append_array(message, SD_BUS_TYPE_BYTE, pixels,
                                    static_cast<std::size_t>(image.sizeInBytes()));
        sd_bus_message_close_container(message);
    }
    return sd_bus_message_close_container(message);
}

/// The tray opens the menu itself; the wheel and the middle button do nothing.
int doNothing(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, nullptr);
}

} // namespace

const sd_bus_vtable StatusNotifierItem::table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD(
        "Activate", "ii", "",
        [](sd_bus_message* message, void* self, sd_bus_error*) {
            QPoint place;
            sd_bus_message_read(message, "ii", &place.rx(), &place.ry());
            static_cast<StatusNotifierItem*>(self)->activated(place);
            return sd_bus_reply_method_return(message, nullptr);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("ContextMenu", "ii", "", doNothing, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SecondaryActivate", "ii", "", doNothing, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Scroll", "is", "", doNothing, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Category", "s", property, 0, 0),
    SD_BUS_PROPERTY("Id", "s", property, 0, 0),
    SD_BUS_PROPERTY("Title", "s", property, 0, 0),
    SD_BUS_PROPERTY("Status", "s", property, 0, 0),
    SD_BUS_PROPERTY("WindowId", "i", property, 0, 0),
    SD_BUS_PROPERTY("IconName", "s", property, 0, 0),
    SD_BUS_PROPERTY("IconPixmap", pictures, property, 0, 0),
    SD_BUS_PROPERTY("OverlayIconName", "s", property, 0, 0),
    SD_BUS_PROPERTY("OverlayIconPixmap", pictures, property, 0, 0),
    SD_BUS_PROPERTY("AttentionIconName", "s", property, 0, 0),
    SD_BUS_PROPERTY("AttentionIconPixmap", pictures, property, 0, 0),
    SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", property, 0, 0),
    SD_BUS_PROPERTY("ItemIsMenu", "b", property, 0, 0),
    SD_BUS_PROPERTY("Menu", "o", property, 0, 0),
    SD_BUS_SIGNAL("NewIcon", "", 0),
    SD_BUS_SIGNAL("NewToolTip", "", 0),
    SD_BUS_VTABLE_END,
};

int StatusNotifierItem::property(sd_bus*, const char*, const char*, const char* name,
                                 sd_bus_message* reply, void* self, sd_bus_error*) {
    const auto& item = *static_cast<StatusNotifierItem*>(self);
    const std::string_view asked = name;
    const auto title = QApplication::applicationDisplayName().toUtf8();
    const auto text = [reply](const char* value) {
        return sd_bus_message_append(reply, "s", value);
    };
    if (asked == "IconPixmap")
        return appendPictures(reply, item.icon);
    if (asked == "IconName")
        return text(item.iconName.toUtf8().constData());
    if (asked == "Menu")
        return sd_bus_message_append(reply, "o", DBusMenu::path);
    if (asked == "ToolTip")
        return sd_bus_message_append(reply, "(sa(iiay)ss)", "", 0,
                                     item.toolTip.toUtf8().constData(), "");
    if (asked == "Category")
        return text("ApplicationStatus");
    if (asked == "Status")
        return text("Active");
    if (asked == "Id")
        return text(QApplication::applicationName().toUtf8().constData());
    if (asked == "Title")
        return text(title.constData());
    if (asked == "WindowId")
        return sd_bus_message_append(reply, "i", 0);
    if (asked == "ItemIsMenu")
        return sd_bus_message_append(reply, "b", 0);
    // There is no overlay or attention icon.
    return asked.ends_with("Pixmap") ? sd_bus_message_append(reply, pictures, 0) : text("");
}

StatusNotifierItem::StatusNotifierItem(Bus& bus, QMenu& menu, std::function<void(QPoint)> activated)
    : bus(bus), activated(std::move(activated)), menu(bus, menu) {
    object = bus.serveObject(itemPath, itemInterface, table, this);
    watcherObservation = bus.match("type='signal',sender='org.freedesktop.DBus',"
                                   "member='NameOwnerChanged',arg0='" +
                                       std::string(watcher) + "'",
                                   [this](auto*) { enroll(); });
    enroll();
}

void StatusNotifierItem::enroll() {
    const auto write = [this](auto* message) {
        sd_bus_message_set_auto_start(message, 0);
        return sd_bus_message_append(message, "s", bus.uniqueName().c_str());
    };
    enrollment = bus.call(
        {watcher, "/StatusNotifierWatcher", watcher, "RegisterStatusNotifierItem"}, write, nullptr);
}

void StatusNotifierItem::setIcon(const QString& name, const QIcon& pictures) {
    iconName = name;
    icon = pictures;
    bus.emitSignal(itemPath, itemInterface, "NewIcon", nullptr);
}

void StatusNotifierItem::setToolTip(const QString& text) {
    toolTip = text;
    bus.emitSignal(itemPath, itemInterface, "NewToolTip", nullptr);
}

} // namespace quoxelin
