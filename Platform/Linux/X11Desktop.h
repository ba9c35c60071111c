#pragma once

#include <QAbstractNativeEventFilter>
#include <QPoint>
#include <functional>
#include <memory>

struct xcb_connection_t;

namespace quoxelin {

/// What the toolkit does not tell of an X11 desktop. Everywhere else `instance` is null. Main
/// thread only.
class X11Desktop final : public QAbstractNativeEventFilter {
  public:
    enum class MouseButton { left, right };

    /// Made on first use, after the QApplication object, and never destroyed.
    static X11Desktop* instance();

    /// Something blends the windows, so that translucent ones and shadows show as they should.
    bool hasCompositor() const;

    /// There is a tray of the older kind, which windows are embedded in.
    bool hasTray() const;

    /// Called whenever such a tray appears.
    void setTrayAppeared(std::function<void()> handler) { trayAppeared = std::move(handler); }

    /// Called for every press of a button on the whole screen, ours included, however another
    /// program may have grabbed the pointer. One handler; none stops listening.
    void setMousePressed(std::function<void(MouseButton)> handler);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  private:
    explicit X11Desktop(xcb_connection_t* connection);

    std::uint32_t atom(const char* name) const;
    bool isOwned(std::uint32_t selection) const;

    xcb_connection_t* connection;
    std::uint32_t root;
    std::uint32_t manager;
    std::uint32_t traySelection;
    std::uint32_t compositorSelection;
    std::uint8_t inputExtension = 0;
    std::function<void()> trayAppeared;
    std::function<void(MouseButton)> mousePressed;
};

} // namespace quoxelin
