#pragma once

#include "Simulation/Desktop/SteeredScreen.h"

namespace quoxelin {

class MacPanels;
struct MacDesktop;

/// Reads and clicks AppKit's windows.
class MacScreen final : public SteeredScreen {
  public:
    explicit MacScreen(MacDesktop& desktop);
    explicit MacScreen(MacPanels& panels) : panels(panels) {}

    std::vector<std::string> texts() const override;
    Press press(const std::string& label) override;
    std::optional<NSRect> placeOf(const std::string& label) const override;
    std::optional<NSRect> panel() const override;
    Picture savePicture(const std::string& path) const override;
    void pressElsewhere() override;

  private:
    MacPanels& panels;
};

} // namespace quoxelin
