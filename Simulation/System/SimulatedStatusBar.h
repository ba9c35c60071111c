#pragma once

#include "Platform/NSStatusBar.h"

#include <algorithm>
#include <set>
#include <vector>

namespace quoxelin {

/// A status bar in memory. Main thread only.
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
        void setImage(std::shared_ptr<NSImage> value) override {
            image = std::dynamic_pointer_cast<Image>(value);
        }
        void setTitle(const std::string& value) override { title = value; }
        void setToolTip(const std::string& value) override {
            toolTip = value;
            ++toolTipsSet;
        }
        void setAction(std::function<void()> value) override { action = std::move(value); }
        std::optional<NSRect> frameOnScreen() const override { return frame; }

        /// The user clicks the button.
        void click() const {
            if (const auto clicked = action)
                clicked();
        }

        /// Null if there is none.
        std::shared_ptr<Image> image;
        std::string title;
        std::string toolTip;
        int toolTipsSet = 0;
        std::function<void()> action;
        /// Empty if the button has no window.
        std::optional<NSRect> frame;
    };

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override {
        return std::make_unique<Item>(*this, length);
    }
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override {
        return images.count(name) == 0 ? nullptr : std::make_shared<Image>(name);
    }

    /// The names of the application's image assets.
    std::set<std::string> images = {"menu_icon"};

    /// Whether new items have a button, and the button's frame.
    bool itemsHaveButtons = true;
    std::optional<NSRect> buttonFrame = NSRect{1200, 876, 24, 24};

    /// The lengths of the items in the bar, oldest first.
    std::vector<double> lengths() const {
        std::vector<double> lengths;
        for (const auto* const item : items)
            lengths.push_back(item->length);
        return lengths;
    }

    /// The button of the oldest item; null if the bar is empty or the item has none.
    Button* button() const { return items.empty() ? nullptr : items.front()->ownButton.get(); }

  private:
    /// Leaves the bar when destroyed. The bar must outlive it.
    struct Item final : NSStatusItem {
        Item(SimulatedStatusBar& bar, double length) : bar(bar), length(length) {
            if (bar.itemsHaveButtons)
                ownButton = std::make_unique<Button>(bar.buttonFrame);
            bar.items.push_back(this);
        }
        ~Item() override { bar.items.erase(std::find(bar.items.begin(), bar.items.end(), this)); }
        Item(const Item&) = delete;
        Item& operator=(const Item&) = delete;

        Button* button() override { return ownButton.get(); }

        SimulatedStatusBar& bar;
        double length;
        std::unique_ptr<Button> ownButton;
    };

    std::vector<Item*> items;
};

} // namespace quoxelin
