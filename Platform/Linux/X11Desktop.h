#pragma once

#include <QAbstractNativeEventFilter>
#include <QMargins>
#include <QRect>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct xcb_connection_t;

namespace quoxelin {

/// What Qt does not report about an X11 desktop. `instance` is null on other desktops. Main thread
/// only.
class X11Desktop final : public QAbstractNativeEventFilter {
  public:
    enum class MouseButton { left, right };

    /// A point in the X server's stream of events.
    using Moment = std::uint32_t;

    /// Created on first use, after the QApplication object, and never destroyed.
    static X11Desktop* instance();

    /// Whether a compositor shows translucent windows and shadows.
    bool hasCompositor() const;

    /// Tells the window manager how much of that window is only shadow, in device pixels.
    void setShadow(std::uint32_t window, const QMargins& shadow);

    /// How far the desktop's bars reach into that part of the X screen, in device pixels.
    QMargins barsOn(const QRect& part) const;

    /// Whether there is an XEmbed tray.
    bool hasTray() const;

    /// The handler is called whenever an XEmbed tray appears.
    void setTrayAppeared(std::function<void()> handler) { trayAppeared = std::move(handler); }

    /// The handler is called for every button press on the whole screen, ours included, even while
    /// another program grabs the pointer. There is one handler; an empty one stops listening.
    void setMousePressed(std::function<void(MouseButton, Moment)> handler);

    /// Later than everything that has happened so far, even if we have not received it yet.
    Moment now() const;

    static bool isBefore(Moment a, Moment b) { return static_cast<std::int32_t>(a - b) < 0; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  private:
    explicit X11Desktop(xcb_connection_t* connection);

    std::uint32_t atom(const char* name) const;
    bool isOwned(std::uint32_t selection) const;
    std::vector<std::uint32_t> managedWindows() const;
    std::vector<std::uint32_t> numbers(std::uint32_t window, std::uint32_t property) const;

    xcb_connection_t* connection;
    std::uint32_t root;
    std::uint32_t frameExtents;
    std::uint32_t clientList;
    std::uint32_t strut;
    std::uint32_t manager;
    std::uint32_t traySelection;
    std::uint32_t compositorSelection;
    std::uint8_t inputExtension = 0;
    std::function<void()> trayAppeared;
    std::function<void(MouseButton, Moment)> mousePressed;
};

} // namespace quoxelin
