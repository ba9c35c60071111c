#pragma once

#include "Platform/Geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

class Steering;
struct Platform;

/// Reads and clicks the application's real windows, like a user. Places are in the desktop's units
/// from the screen's upper left corner; y points down. Main thread only.
class SteeredScreen {
  public:
    enum class Press { done, absent, disabled };
    enum class Picture { saved, empty, failed };

    virtual ~SteeredScreen() = default;

    /// The texts in reading order, from the panel to the topmost window.
    virtual std::vector<std::string> texts() const = 0;

    /// Clicks the topmost row or button with this accessibility label or text.
    virtual Press press(const std::string& label) = 0;

    /// The frame of that row or button.
    virtual std::optional<NSRect> placeOf(const std::string& label) const = 0;

    /// The panel's frame; empty while it is hidden.
    virtual std::optional<NSRect> panel() const = 0;

    /// Writes a PNG of all windows at their places.
    virtual Picture savePicture(const std::string& path) const = 0;

    /// Acts like a press of the left button outside of the application's windows.
    virtual void pressElsewhere() = 0;
};

/// Adds the commands that act like a user of the real windows. docs/simulation.md lists them.
void addScreenCommands(Steering& steering, SteeredScreen& screen, const Platform& platform);

} // namespace quoxelin
