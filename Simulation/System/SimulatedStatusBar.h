#pragma once

#include "Platform/NSStatusBar.h"

#include <set>
#include <vector>

namespace quoxelin {

/// A status bar that can be looked at and clicked. Main thread only.
class SimulatedStatusBar final : public NSStatusBar {
  public:
    struct Image final : NSImage {
        explicit Image(std::string name) : name(std::move(name)) {}
        void setTemplate(bool value) override { isTemplate = value; }
        void setSize(NSSize value) override { size = value; }

        std::string name;
        bool isTemplate = false;
        NSSize size;
    };

    struct Button final : NSStatusBarButton {
        explicit Button(std::optional<NSRect> frame) : frame(frame) {}
        void setImage(std::shared_ptr<NSImage> value) override;
        void setTitle(const std::string& value) override { title = value; }
        void setAction(std::function<void()> value) override { action = std::move(value); }
        std::optional<NSRect> frameOnScreen() const override { return frame; }

        /// A person clicks the button.
        void click() const;

        /// Null when there is none.
        std::shared_ptr<Image> image;
        std::string title;
        std::function<void()> action;
        /// Absent: the button is in no window.
        std::optional<NSRect> frame;
    };

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;

    /// The assets that the application ships.
    std::set<std::string> images = {"menu_icon"};

    /// Whether new items have a button, and where it stands.
    bool itemsHaveButtons = true;
    std::optional<NSRect> buttonFrame = NSRect{1200, 876, 24, 24};

    /// The lengths of the items in the bar, oldest first.
    std::vector<double> lengths() const;

    /// The button of the oldest item; null when the bar is empty or the item has none.
    Button* button() const;

  private:
    class Item;
    std::vector<Item*> items;
};

} // namespace quoxelin
