#pragma once

#include <QPoint>
#include <QRect>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QScreen;
class QWidget;
class QWindow;
struct wl_display;
struct wl_event_queue;
struct wl_proxy;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace quoxelin {

class LayerSurface;

/// A Wayland compositor's protocol for panels: windows at a place of the program's choice, above
/// the others. Ordinary Wayland windows have neither. Main thread only.
class LayerShell final {
  public:
    /// Whether the compositor of this session has the protocol; empty if none answers. Needs no
    /// application object.
    static std::optional<bool> isOffered();

    /// Sets the variables that Qt needs to leave windows to us. Call before the application object
    /// is made. `environmentVariables` are not for other programs.
    static void prepare();
    static const std::vector<const char*>& environmentVariables();

    /// Null if Qt uses no compositor with the protocol. Created on first use, after the
    /// QApplication object, and never destroyed.
    static LayerShell* instance();

    /// Whether Qt uses a compositor without the protocol. It chooses the places of windows and does
    /// not tell them.
    static bool isMissing();

    bool hasPointer() const;

    /// Asks the compositor how much of every screen its bars leave. Waits for the answer, which
    /// takes a few milliseconds at most.
    void measureScreens();

    /// Compositors tell how large the rest is but not where. It is on the other side of the bar
    /// that was clicked there.
    void setIconPlace(const QPoint& place) { iconPlace = place; }

    /// The part of the screen that bars leave, in global coordinates.
    QRect usablePart(const QScreen& screen) const;

    /// A bar is below or to the right of the usable part.
    bool isBarBelow(const QScreen& screen) const;
    bool isBarOnTheRight(const QScreen& screen) const;

  private:
    friend class LayerSurface;

    LayerShell(wl_display* display, wl_event_queue* queue, zwlr_layer_shell_v1* shell)
        : display(display), queue(queue), shell(shell) {}

    struct Rest {
        const QScreen* screen;
        QSize size;
    };

    QSize usableSize(const QScreen& screen) const;
    bool isIconOn(const QScreen& screen) const;

    wl_display* display;
    wl_event_queue* queue;
    zwlr_layer_shell_v1* shell;
    std::vector<Rest> rests;
    std::optional<QPoint> iconPlace;
    std::vector<LayerSurface*> cards;
};

/// Makes a window a surface of the layer shell, from before the window is shown until after it is
/// hidden.
class LayerSurface final {
  public:
    enum class Kind {
        /// Above everything, clear of bars, with the keyboard.
        card,
        /// Like a card, but takes the keyboard from all cards.
        dialog,
        /// Like a card, but without the keyboard.
        tip,
        /// Above ordinary windows, over bars, without the keyboard.
        cover,
        /// Never shown: takes the usable part of its screen.
        measure,
    };

    /// The window must have a surface without any other role. Waits for the compositor's first
    /// answer.
    LayerSurface(LayerShell& shell, QWindow& window, const QScreen& screen, Kind kind,
                 const QRect& place);
    ~LayerSurface();
    LayerSurface(const LayerSurface&) = delete;
    LayerSurface& operator=(const LayerSurface&) = delete;

    /// In global coordinates, on the screen that it was made for.
    void setPlace(const QRect& place);

    /// What the compositor has set.
    QSize size() const { return configured.value_or(QSize()); }

  private:
    void configure(std::uint32_t serial, const QSize& size);
    void close();
    void arrange(const QRect& place);
    void setCardsHaveKeyboard(bool have);

    LayerShell& shell;
    QWindow& window;
    const QScreen& screen;
    Kind kind;
    bool hasKeyboard;
    wl_surface* content = nullptr;
    zwlr_layer_surface_v1* role = nullptr;
    std::optional<QSize> configured;
};

} // namespace quoxelin
