#pragma once

#include "Platform/Linux/Wayland/LayeredWindow.h"
#include "View/Element.h"

#include <QMessageBox>
#include <memory>

namespace quoxelin {

/// An alert over the window that holds its element, in the desktop's own look.
class AlertBox final : public Presentation<Alert> {
  public:
    explicit AlertBox(QWidget& anchor);

    void bind(const Alert& record) override;
    Alert readBack() const override;
    void present() override;
    void takeAway() override { box.hide(); }

  private:
    void bindButtons(const Alert& record);

    QWidget& anchor;
    LayeredWindow<QMessageBox> box;
    std::vector<std::function<void()>> actions;
};

} // namespace quoxelin
