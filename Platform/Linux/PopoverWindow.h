#pragma once

#include "Platform/Linux/ElementView.h"
#include "Platform/Linux/FloatingWindow.h"

namespace quoxelin {

/// A popover beside its element.
class PopoverWindow final : public FloatingWindow, public Presentation<Popover> {
  public:
    explicit PopoverWindow(QWidget& anchor);

    void bind(const Popover& record) override;
    Popover readBack() const override;
    void present() override;
    void takeAway() override { hide(); }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void avoidGrab();
    void moveBesideAnchor();

    QWidget& anchor;
    std::unique_ptr<ElementView> content;
    std::function<void()> onDismiss;
};

} // namespace quoxelin
