#include "Platform/Linux/Wayland/LayerShell.h"

#include "layer-shell-client.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cstring>
#include <qpa/qplatformnativeinterface.h>
#include <wayland-client.h>

namespace quoxelin {

namespace {

/// The last version that leaves keyboard focus to the same two values.
constexpr std::uint32_t newestVersion = 3;

constexpr std::uint32_t topLayer = 2, overlayLayer = 3;

/// Puts the protocol's global object into the queue, or returns null.
zwlr_layer_shell_v1* bindShell(wl_display* display, wl_event_queue* queue) {
    struct Search {
        zwlr_layer_shell_v1* shell = nullptr;
    } search;
    static const wl_registry_listener listener{
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t version) {
            if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0)
                static_cast<Search*>(data)->shell = static_cast<zwlr_layer_shell_v1*>(
                    wl_registry_bind(registry, name, &zwlr_layer_shell_v1_interface,
                                     std::min(version, newestVersion)));
        },
        [](void*, wl_registry*, std::uint32_t) {}};
    auto* const wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue);
    auto* const registry = wl_display_get_registry(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    wl_registry_add_listener(registry, &listener, &search);
    wl_display_roundtrip_queue(display, queue);
    wl_registry_destroy(registry);
    return search.shell;
}

template <typename T>
T* native(const char* resource) {
    return static_cast<T*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration(resource));
}

bool isOnWayland() {
    return QGuiApplication::platformName().startsWith("wayland");
}

} // namespace

std::optional<bool> LayerShell::isOffered() {
    auto* const display = wl_display_connect(nullptr);
    if (display == nullptr)
        return std::nullopt;
    auto* const queue = wl_display_create_queue(display);
    auto* const shell = bindShell(display, queue);
    const bool isThere = shell != nullptr;
    if (isThere)
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(shell));
    wl_event_queue_destroy(queue);
    wl_display_disconnect(display);
    return isThere;
}

const std::vector<const char*>& LayerShell::environmentVariables() {
    // The first lets windows with Qt::BypassWindowManagerHint have no role of Qt's; the second lets
    // them have a place.
    static const std::vector<const char*> variables{"QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT",
                                                    "QT_WAYLAND_DISABLE_FIXED_POSITIONS"};
    return variables;
}

void LayerShell::prepare() {
    for (const auto* variable : environmentVariables())
        qputenv(variable, "1");
}

bool LayerShell::isMissing() {
    return isOnWayland() && instance() == nullptr;
}

LayerShell* LayerShell::instance() {
    static LayerShell* const shell = []() -> LayerShell* {
        if (!isOnWayland())
            return nullptr;
        auto* const display = native<wl_display>("wl_display");
        if (display == nullptr || !qEnvironmentVariableIsSet(environmentVariables().front()))
            return nullptr;
        auto* const queue = wl_display_create_queue(display);
        auto* const bound = bindShell(display, queue);
        return bound == nullptr ? nullptr : new LayerShell(display, queue, bound);
    }();
    return shell;
}

bool LayerShell::hasPointer() const {
    return native<wl_pointer>("wl_pointer") != nullptr;
}

void LayerShell::measureScreens() {
    rests.clear();
    for (const auto* screen : QGuiApplication::screens()) {
        QWindow unused;
        const LayerSurface surface(*this, unused, *screen, LayerSurface::Kind::measure, {});
        rests.push_back({screen, surface.size()});
    }
}

QSize LayerShell::usableSize(const QScreen& screen) const {
    const auto whole = screen.geometry().size();
    const auto known = std::find_if(rests.begin(), rests.end(),
                                    [&](const Rest& rest) { return rest.screen == &screen; });
    return known == rests.end() || known->size.isEmpty() ? whole : known->size.boundedTo(whole);
}

bool LayerShell::isIconOn(const QScreen& screen) const {
    return iconPlace && screen.geometry().contains(*iconPlace);
}

bool LayerShell::isBarBelow(const QScreen& screen) const {
    return isIconOn(screen) && iconPlace->y() > screen.geometry().center().y();
}

bool LayerShell::isBarOnTheRight(const QScreen& screen) const {
    return isIconOn(screen) && iconPlace->x() > screen.geometry().center().x();
}

QRect LayerShell::usablePart(const QScreen& screen) const {
    const auto whole = screen.geometry();
    QRect part(whole.topLeft(), usableSize(screen));
    if (!isBarBelow(screen))
        part.moveBottom(whole.bottom());
    if (!isBarOnTheRight(screen))
        part.moveRight(whole.right());
    return part;
}

LayerSurface::LayerSurface(LayerShell& shell, QWindow& window, const QScreen& screen, Kind kind,
                           const QRect& place)
    : shell(shell), window(window), screen(screen), kind(kind),
      hasKeyboard(kind == Kind::card || kind == Kind::dialog) {
    if (kind == Kind::card)
        shell.cards.push_back(this);
    if (kind == Kind::dialog)
        setCardsHaveKeyboard(false);
    auto* const platform = QGuiApplication::platformNativeInterface();
    content = kind == Kind::measure
                  ? wl_compositor_create_surface(native<wl_compositor>("compositor"))
                  : static_cast<wl_surface*>(platform->nativeResourceForWindow("surface", &window));
    auto* const output = static_cast<wl_output*>(
        platform->nativeResourceForScreen("output", const_cast<QScreen*>(&screen)));
    role = zwlr_layer_shell_v1_get_layer_surface(shell.shell, content, output,
                                                 kind == Kind::cover ? topLayer : overlayLayer,
                                                 "quoxelin-desktop");
    static const zwlr_layer_surface_v1_listener listener{
        [](void* self, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width,
           std::uint32_t height) {
            static_cast<LayerSurface*>(self)->configure(
                serial, QSize(static_cast<int>(width), static_cast<int>(height)));
        },
        [](void* self, zwlr_layer_surface_v1*) { static_cast<LayerSurface*>(self)->close(); }};
    zwlr_layer_surface_v1_add_listener(role, &listener, this);
    arrange(place);
    while (!configured && wl_display_roundtrip_queue(shell.display, shell.queue) >= 0) {
    }
    // From now on with Qt's own events.
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(role), nullptr);
}

LayerSurface::~LayerSurface() {
    shell.cards.erase(std::remove(shell.cards.begin(), shell.cards.end(), this), shell.cards.end());
    if (kind == Kind::dialog)
        setCardsHaveKeyboard(true);
    zwlr_layer_surface_v1_destroy(role);
    if (kind == Kind::measure)
        wl_surface_destroy(content);
}

void LayerSurface::configure(std::uint32_t serial, const QSize& size) {
    configured = size;
    zwlr_layer_surface_v1_ack_configure(role, serial);
}

/// The screen is gone, or the compositor wants the window away.
void LayerSurface::close() {
    configured.emplace();
    QMetaObject::invokeMethod(&window, &QWindow::close, Qt::QueuedConnection);
}

void LayerSurface::setPlace(const QRect& place) {
    arrange(place);
}

/// Compositors leave the keyboard with one of the surfaces that want it, not always with the last.
void LayerSurface::setCardsHaveKeyboard(bool have) {
    for (auto* card : shell.cards) {
        card->hasKeyboard = have;
        zwlr_layer_surface_v1_set_keyboard_interactivity(card->role, have ? 1 : 0);
        wl_surface_commit(card->content);
    }
}

void LayerSurface::arrange(const QRect& place) {
    constexpr std::uint32_t top = 1, bottom = 2, left = 4, right = 8;
    constexpr int overBars = -1;
    std::uint32_t edges = top | left;
    QMargins margins;
    if (kind == Kind::measure) {
        edges = top | bottom | left | right;
    } else {
        const auto area = kind == Kind::cover ? screen.geometry() : shell.usablePart(screen);
        const bool isBelow = shell.isBarBelow(screen), isRight = shell.isBarOnTheRight(screen);
        edges = (isBelow ? bottom : top) | (isRight ? right : left);
        margins = {place.left() - area.left(), place.top() - area.top(),
                   area.right() - place.right(), area.bottom() - place.bottom()};
    }
    zwlr_layer_surface_v1_set_size(role, static_cast<std::uint32_t>(place.width()),
                                   static_cast<std::uint32_t>(place.height()));
    zwlr_layer_surface_v1_set_anchor(role, edges);
    zwlr_layer_surface_v1_set_margin(role, margins.top(), margins.right(), margins.bottom(),
                                     margins.left());
    zwlr_layer_surface_v1_set_exclusive_zone(role, kind == Kind::cover ? overBars : 0);
    zwlr_layer_surface_v1_set_keyboard_interactivity(role, hasKeyboard ? 1 : 0);
    wl_surface_commit(content);
}

} // namespace quoxelin
