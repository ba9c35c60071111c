#pragma once

#include "Simulation/Desktop/SteeredScreen.h"

namespace quoxelin {

class MacAppleEventManager;
class MacPanels;
struct MacDesktop;

/// Reads and clicks AppKit's windows.
class MacScreen final : public SteeredScreen {
  public:
    explicit MacScreen(MacDesktop& desktop);
    MacScreen(MacPanels& panels, MacAppleEventManager& events) : panels(panels), events(events) {}

    std::vector<std::string> texts() const override;
    Press press(const std::string& label) override;
    std::optional<NSRect> placeOf(const std::string& label) const override;
    std::optional<NSRect> panel() const override;
    Picture savePicture(const std::string& path) const override;
    void pressElsewhere() override;
    void openURL(const std::optional<std::string>& url) override;

  private:
    MacPanels& panels;
    MacAppleEventManager& events;
};

} // namespace quoxelin
