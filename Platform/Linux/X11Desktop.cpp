#include "Platform/Linux/X11Desktop.h"

#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace quoxelin {

namespace {

template <typename T>
struct Freed {
    void operator()(T* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, Freed<T>>;

/// Raw events need at least version 2.0 of the input extension.
constexpr std::uint16_t inputMajorVersion = 2, inputMinorVersion = 2;

} // namespace

X11Desktop* X11Desktop::instance() {
    static X11Desktop* const desktop = []() -> X11Desktop* {
        auto* native = qApp->nativeInterface<QNativeInterface::QX11Application>();
        if (native == nullptr || native->connection() == nullptr)
            return nullptr;
        return new X11Desktop(native->connection());
    }();
    return desktop;
}

X11Desktop::X11Desktop(xcb_connection_t* connection)
    : connection(connection), root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
      frameExtents(atom("_GTK_FRAME_EXTENTS")), clientList(atom("_NET_CLIENT_LIST")),
      strut(atom("_NET_WM_STRUT_PARTIAL")), manager(atom("MANAGER")),
      traySelection(atom("_NET_SYSTEM_TRAY_S0")), compositorSelection(atom("_NET_WM_CM_S0")) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (extension != nullptr && extension->present) {
        const Reply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
            connection,
            xcb_input_xi_query_version(connection, inputMajorVersion, inputMinorVersion), nullptr));
        if (version && version->major_version >= inputMajorVersion)
            inputExtension = extension->major_opcode;
    }
    qApp->installNativeEventFilter(this);
}

std::uint32_t X11Desktop::atom(const char* name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, false, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

bool X11Desktop::isOwned(std::uint32_t selection) const {
    const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

bool X11Desktop::hasCompositor() const {
    return isOwned(compositorSelection);
}

void X11Desktop::setShadow(std::uint32_t window, const QMargins& shadow) {
    const auto length = [](int value) { return static_cast<std::uint32_t>(value); };
    const std::array edges{length(shadow.left()), length(shadow.right()), length(shadow.top()),
                           length(shadow.bottom())};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, frameExtents, XCB_ATOM_CARDINAL,
                        32, edges.size(), edges.data());
}

std::vector<std::uint32_t> X11Desktop::numbers(std::uint32_t window, std::uint32_t property) const {
    constexpr std::uint32_t longest = 4096;
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, false, window, property, XCB_ATOM_ANY, 0, longest),
        nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

/// All windows if nothing manages them.
std::vector<std::uint32_t> X11Desktop::managedWindows() const {
    if (auto windows = numbers(root, clientList); !windows.empty())
        return windows;
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr));
    if (!tree)
        return {};
    const auto* first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

/// Every bar says how far it reaches from each edge of the whole X screen, and between which
/// coordinates.
QMargins X11Desktop::barsOn(const QRect& part) const {
    const Reply<xcb_get_geometry_reply_t> whole(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root), nullptr));
    if (!whole)
        return {};
    QMargins bars;
    // A bar that seems to cover most of this part is at an edge of another one.
    const auto reach = [](int present, int wanted, int length) {
        return wanted < length / 2 ? std::max(present, wanted) : present;
    };
    const auto isBeside = [](std::uint32_t first, std::uint32_t last, int low, int high) {
        return static_cast<int>(first) <= high && static_cast<int>(last) >= low;
    };
    for (const auto window : managedWindows()) {
        const auto edges = numbers(window, strut);
        if (edges.size() != 12)
            continue;
        const auto edge = [&](std::size_t place) { return static_cast<int>(edges[place]); };
        if (edge(0) > 0 && isBeside(edges[4], edges[5], part.top(), part.bottom()))
            bars.setLeft(reach(bars.left(), edge(0) - part.left(), part.width()));
        if (edge(1) > 0 && isBeside(edges[6], edges[7], part.top(), part.bottom()))
            bars.setRight(
                reach(bars.right(), part.right() + 1 - (whole->width - edge(1)), part.width()));
        if (edge(2) > 0 && isBeside(edges[8], edges[9], part.left(), part.right()))
            bars.setTop(reach(bars.top(), edge(2) - part.top(), part.height()));
        if (edge(3) > 0 && isBeside(edges[10], edges[11], part.left(), part.right()))
            bars.setBottom(
                reach(bars.bottom(), part.bottom() + 1 - (whole->height - edge(3)), part.height()));
    }
    return bars;
}

bool X11Desktop::hasTray() const {
    return isOwned(traySelection);
}

void X11Desktop::setMousePressed(std::function<void(MouseButton, Moment)> handler) {
    mousePressed = std::move(handler);
    if (inputExtension == 0)
        return;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } events{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
             mousePressed ? static_cast<std::uint32_t>(XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS)
                          : 0u};
    xcb_input_xi_select_events(connection, root, 1, &events.head);
    xcb_flush(connection);
}

/// An event carries the number of the last request that was served before it.
X11Desktop::Moment X11Desktop::now() const {
    const auto request = xcb_no_operation(connection);
    xcb_flush(connection);
    return request.sequence;
}

bool X11Desktop::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto* announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (announcement->type == manager && announcement->data.data32[1] == traySelection &&
            trayAppeared)
            trayAppeared();
        break;
    }
    case XCB_GE_GENERIC: {
        const auto* press = reinterpret_cast<const xcb_input_raw_button_press_event_t*>(event);
        if (press->extension != inputExtension || press->event_type != XCB_INPUT_RAW_BUTTON_PRESS ||
            !mousePressed)
            break;
        if (press->detail == 1)
            mousePressed(MouseButton::left, press->full_sequence);
        else if (press->detail == 3)
            mousePressed(MouseButton::right, press->full_sequence);
        break;
    }
    }
    return false;
}

} // namespace quoxelin
