#pragma once

#include <QPoint>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quoxelin {

/// Invisible windows below ours and above all others, for Wayland desktops: these tell a program
/// neither of presses outside its windows nor where the pointer is. Main thread only.
class ClickCatcher final {
  public:
    /// False on desktops that report those presses, and where a program cannot place windows.
    static bool isNeeded();

    explicit ClickCatcher(std::function<void(Qt::MouseButton)> pressed);
    ~ClickCatcher();

    void show();
    void hide();

    /// Shows the windows and calls back with the pointer's place as soon as it is known; without
    /// one if it stays unknown for a second. Calls back at once if there is no pointer or they are
    /// already shown.
    void findPointer(std::function<void(std::optional<QPoint>)> found);

  private:
    class Cover;

    void tell(std::optional<QPoint> place);

    std::function<void(Qt::MouseButton)> pressed;
    std::function<void(std::optional<QPoint>)> found;
    std::vector<std::unique_ptr<Cover>> covers;
    QTimer patience;
};

} // namespace quoxelin
