#pragma once

#include "Platform/Geometry.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin {

// The system's status bar. Main thread only.

inline constexpr double NSSquareStatusItemLength = -2;

/// An image from the application's assets.
class NSImage {
  public:
    virtual ~NSImage() = default;

    /// The system tints a template image to suit a light or a dark bar.
    virtual void setTemplate(bool isTemplate) = 0;
    virtual void setSize(NSSize size) = 0;
};

class NSStatusBarButton {
  public:
    virtual ~NSStatusBarButton() = default;
    /// Null clears the image.
    virtual void setImage(std::shared_ptr<NSImage> image) = 0;
    virtual void setTitle(const std::string& title) = 0;
    virtual void setToolTip(const std::string& toolTip) = 0;
    /// Called on every click.
    virtual void setAction(std::function<void()> action) = 0;
    /// The button's frame on the screen. Absent while it has no window.
    virtual std::optional<NSRect> frameOnScreen() const = 0;
};

class NSStatusItem {
  public:
    virtual ~NSStatusItem() = default;
    /// Null if the item has none. Lives as long as the item.
    virtual NSStatusBarButton* button() = 0;
};

class NSStatusBar {
  public:
    virtual ~NSStatusBar() = default;

    /// Adds an item, which leaves the bar when it is destroyed.
    virtual std::unique_ptr<NSStatusItem> statusItemWithLength(double length) = 0;

    /// Null if the application has no asset of that name.
    virtual std::shared_ptr<NSImage> imageNamed(const std::string& name) = 0;
};

} // namespace quoxelin
