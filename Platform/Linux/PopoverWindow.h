#pragma once

#include "Platform/Linux/ElementView.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Runner/Views/ViewRecords.h"

namespace quoxelin {

/// A pop-over beside the element that it belongs to.
class PopoverWindow final : public FloatingWindow {
  public:
    explicit PopoverWindow(QWidget& anchor);

    void bind(const Popover& record);
    Popover readBack() const;

    /// Comes up, if its anchor is on the screen.
    void present();

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void moveBesideAnchor();

    QWidget& anchor;
    std::unique_ptr<ElementView> content;
    std::function<void()> onDismiss;
};

} // namespace quoxelin
