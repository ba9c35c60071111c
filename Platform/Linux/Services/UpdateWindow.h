#pragma once

#include <QMessageBox>
#include <functional>

namespace quoxelin {

/// The small window in which an update is looked for, offered and installed. Main thread only.
class UpdateWindow final {
  public:
    UpdateWindow();

    struct Content {
        QString text;
        /// The second, smaller paragraph.
        QString details = {};
        /// Leads on, when it is set.
        QString action = {};
        std::function<void()> onAction = {};
        /// Closes the window.
        QString dismissal = {};
        std::function<void()> onDismissal = {};
    };

    /// Shows the content in place of the one before, in front of other windows.
    void show(const Content& content);

  private:
    QMessageBox box;
    std::function<void()> onAction;
    std::function<void()> onDismissal;
};

} // namespace quoxelin
