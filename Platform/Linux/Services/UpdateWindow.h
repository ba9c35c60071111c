#pragma once

#include <QMessageBox>
#include <functional>

namespace quoxelin {

/// The small window in which updates are checked, offered and installed. Main thread only.
class UpdateWindow final {
  public:
    UpdateWindow();

    struct Content {
        QString text;
        /// The second, smaller paragraph.
        QString details = {};
        /// The label of the button that continues; empty for none.
        QString action = {};
        std::function<void()> onAction = {};
        /// The label of the button that closes the window.
        QString dismissal = {};
        std::function<void()> onDismissal = {};
    };

    /// Replaces the content and brings the window to the front.
    void show(const Content& content);

  private:
    QMessageBox box;
    std::function<void()> onAction;
    std::function<void()> onDismissal;
};

} // namespace quoxelin
