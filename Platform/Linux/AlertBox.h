#pragma once

#include "Runner/Views/ViewRecords.h"

#include <QMessageBox>
#include <memory>

namespace quoxelin {

/// An alert over the window of the element that it belongs to, in the desktop's own look.
class AlertBox final : public QObject {
  public:
    explicit AlertBox(QWidget& anchor);

    void bind(const Alert& record);
    Alert readBack() const;

    /// Comes up, if its anchor is on the screen.
    void present();

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void bindButtons(const std::vector<Alert::Button>& buttons);

    QWidget& anchor;
    QMessageBox box;
    std::vector<std::function<void()>> actions;
};

} // namespace quoxelin
