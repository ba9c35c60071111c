#pragma once

#include "Platform/Geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

class Steering;
struct Platform;

/// The real windows of the application, as a user looks at them and clicks. Places are in the
/// desktop's lengths from the screen's upper left corner, y downwards. Main thread only.
class SteeredScreen {
  public:
    enum class Press { done, absent, disabled };
    enum class Picture { saved, empty, failed };

    virtual ~SteeredScreen() = default;

    /// In the order of reading, from the panel to what lies on top of it.
    virtual std::vector<std::string> texts() const = 0;

    /// Clicks the row or button that bears this accessibility label or text, the one on top first.
    virtual Press press(const std::string& label) = 0;

    /// Where it is.
    virtual std::optional<NSRect> placeOf(const std::string& label) const = 0;

    /// The panel's frame; absent while it is not on the screen.
    virtual std::optional<NSRect> panel() const = 0;

    /// Writes all windows in their places into a PNG file.
    virtual Picture savePicture(const std::string& path) const = 0;

    /// Acts like a press of the left button outside of the application's windows.
    virtual void pressElsewhere() = 0;

    /// As when a browser hands the URL over.
    virtual void openURL(const std::optional<std::string>& url) = 0;
};

/// What a user sees and does at the real desktop: looks at the windows, presses what is on them,
/// follows a link back into the application, quits. docs/simulation.md lists the commands.
void addScreenCommands(Steering& steering, SteeredScreen& screen, const Platform& platform);

} // namespace quoxelin
