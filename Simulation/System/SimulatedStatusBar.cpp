#include "Simulation/System/SimulatedStatusBar.h"

#include <algorithm>

namespace quoxelin {

/// Leaves the bar when it ends; the bar outlives it.
class SimulatedStatusBar::Item final : public NSStatusItem {
  public:
    Item(SimulatedStatusBar& bar, double length) : bar(bar), length(length) {
        if (bar.itemsHaveButtons)
            ownButton = std::make_unique<Button>(bar.buttonFrame);
        bar.items.push_back(this);
    }
    ~Item() override { bar.items.erase(std::find(bar.items.begin(), bar.items.end(), this)); }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    Button* button() override { return ownButton.get(); }

  private:
    friend class SimulatedStatusBar;
    SimulatedStatusBar& bar;
    double length;
    std::unique_ptr<Button> ownButton;
};

void SimulatedStatusBar::Button::setImage(std::shared_ptr<NSImage> value) {
    image = std::dynamic_pointer_cast<Image>(value);
}

void SimulatedStatusBar::Button::click() const {
    if (const auto clicked = action)
        clicked();
}

std::unique_ptr<NSStatusItem> SimulatedStatusBar::statusItemWithLength(double length) {
    return std::make_unique<Item>(*this, length);
}

std::shared_ptr<NSImage> SimulatedStatusBar::imageNamed(const std::string& name) {
    if (images.count(name) == 0)
        return nullptr;
    return std::make_shared<Image>(name);
}

std::vector<double> SimulatedStatusBar::lengths() const {
    std::vector<double> lengths;
    for (const auto* const item : items)
        lengths.push_back(item->length);
    return lengths;
}

SimulatedStatusBar::Button* SimulatedStatusBar::button() const {
    return items.empty() ? nullptr : items.front()->ownButton.get();
}

} // namespace quoxelin
