#pragma once

#include "Base/Subscription.h"
#include "Platform/Geometry.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

struct ViewNode;

// Floating panels and their content. Main thread only.

inline constexpr unsigned long NSWindowStyleMaskNonactivatingPanel = 1UL << 7;
inline constexpr unsigned long NSWindowStyleMaskFullSizeContentView = 1UL << 15;
inline constexpr unsigned long NSBackingStoreBuffered = 2;
inline constexpr long NSFloatingWindowLevel = 3;
inline constexpr unsigned long NSViewWidthSizable = 2;
inline constexpr unsigned long NSViewHeightSizable = 16;
inline constexpr long NSVisualEffectMaterialPopover = 6;
inline constexpr long NSVisualEffectBlendingModeBehindWindow = 0;
inline constexpr long NSVisualEffectStateActive = 1;
inline constexpr unsigned long long NSEventMaskLeftMouseDown = 1ULL << 1;
inline constexpr unsigned long long NSEventMaskRightMouseDown = 1ULL << 3;

/// Draws a tree of view records and keeps the screen up to date with it.
class NSHostingView {
  public:
    virtual ~NSHostingView() = default;

    /// Replaces the tree shown. Only the differences are applied, so pointer, focus and open
    /// popovers are kept.
    virtual void setRootView(const ViewNode& tree) = 0;
};

/// The translucent background of a panel.
struct NSVisualEffectView {
    NSRect frame;
    unsigned long autoresizingMask = 0;
    long material = 0;
    long blendingMode = 0;
    long state = 0;
    bool wantsLayer = false;
    double cornerRadius = 0;
    bool masksToBounds = false;
    /// Pinned to all four edges.
    std::shared_ptr<NSHostingView> subview;
};

struct NSPanelOptions {
    NSRect contentRect;
    unsigned long styleMask = 0;
    unsigned long backing = 0;
    bool defer = false;
    /// Makes the background color clear.
    bool clearBackground = false;
    bool opaque = true;
    bool hasShadow = false;
    long level = 0;
    /// The name of the panel for assistive technology, even if it is hidden.
    std::string title;
    bool titleHidden = false;
    bool titlebarAppearsTransparent = false;
};

class NSPanel {
  public:
    virtual ~NSPanel() = default;

    /// The content view's bounds. Absent without a content view.
    virtual std::optional<NSRect> contentViewBounds() const = 0;
    virtual void setContentView(const NSVisualEffectView& view) = 0;

    virtual NSRect frame() const = 0;
    virtual void setFrameOrigin(double x, double y) = 0;
    virtual bool isVisible() const = 0;
    virtual void makeKeyAndOrderFront() = 0;
    virtual void orderOut() = 0;
    /// Called each time the panel has been hidden.
    virtual void setDidOrderOut(std::function<void()> handler) = 0;
};

class Panels {
  public:
    virtual ~Panels() = default;
    virtual std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) = 0;
    virtual std::shared_ptr<NSHostingView> makeHostingView() = 0;

    /// Calls the handler for mouse-downs outside the application's windows until the token ends.
    virtual Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                                   std::function<void()> handler) = 0;
};

} // namespace quoxelin
