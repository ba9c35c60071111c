#pragma once

#include "Simulation/Desktop/SteeredScreen.h"

namespace quoxelin {

struct Desktop;

/// The toolkit's windows, on a screen or, where there is none, in memory.
class QtScreen final : public SteeredScreen {
  public:
    explicit QtScreen(Desktop& desktop) : desktop(desktop) {}

    std::vector<std::string> texts() const override;
    Press press(const std::string& label) override;
    std::optional<NSRect> placeOf(const std::string& label) const override;
    std::optional<NSRect> panel() const override;
    Picture savePicture(const std::string& path) const override;
    void pressElsewhere() override;
    void openURL(const std::optional<std::string>& url) override;

  private:
    Desktop& desktop;
};

} // namespace quoxelin
