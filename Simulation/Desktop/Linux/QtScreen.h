#pragma once

#include "Simulation/Desktop/SteeredScreen.h"

namespace quoxelin {

struct Desktop;

/// Reads and clicks Qt's windows, even if they are drawn offscreen.
class QtScreen final : public SteeredScreen {
  public:
    explicit QtScreen(Desktop& desktop) : desktop(desktop) {}

    std::vector<std::string> texts() const override;
    Press press(const std::string& label) override;
    std::optional<NSRect> placeOf(const std::string& label) const override;
    std::optional<NSRect> panel() const override;
    Picture savePicture(const std::string& path) const override;
    void pressElsewhere() override;

  private:
    Desktop& desktop;
};

} // namespace quoxelin
