#include "Platform/Linux/PopoverWindow.h"

#include "Platform/Linux/FocusOrder.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "View/Reconcile.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QWindow>

namespace quoxelin {

PopoverWindow::PopoverWindow(QWidget& anchor)
    : FloatingWindow(anchor.window(), Qt::Popup), anchor(anchor) {
    // The press that closes the popover must not press a row below it.
    setAttribute(Qt::WA_NoMouseReplay);
    setEscapePressed([this] { close(); });
    setResized([this] { moveBesideAnchor(); });
}

void PopoverWindow::bind(const Popover& record) {
    onDismiss = record.onDismiss;
    reconcileRoot(content, record.content,
                  [this](ElementView& view) { setContent(&view.widget()); });
    setFocusOrder(*content);
    setWindowTitle(anchor.accessibleName());
    present();
}

Popover PopoverWindow::readBack() const {
    return {content->readBack(), nullptr};
}

void PopoverWindow::present() {
    if (isVisible() || !anchor.isVisible())
        return;
    setScreenPoint(anchor.mapToGlobal(anchor.rect().center()));
    fitContent();
    moveBesideAnchor();
    avoidGrab();
    show();
    content->windowDidShow();
}

/// Qt asks a Wayland compositor for a grab, which some refuse, and with it the window, unless a
/// button has just been pressed. The kind that is refused nothing behaves the same inside our
/// windows.
void PopoverWindow::avoidGrab() {
    if (!LayerShell::isMissing())
        return;
    winId();
    auto& handle = *windowHandle();
    handle.setFlags((handle.flags() & ~Qt::WindowType_Mask) | Qt::ToolTip);
}

void PopoverWindow::moveBesideAnchor() {
    const auto* owner = dynamic_cast<const FloatingWindow*>(anchor.window());
    const auto beside = owner != nullptr ? owner->card() : anchor.window()->geometry();
    const auto top = anchor.mapToGlobal(QPoint(0, 0)).y();
    moveCard(placeBeside(beside, top, card().size()));
}

void PopoverWindow::hideEvent(QHideEvent* event) {
    FloatingWindow::hideEvent(event);
    if (content)
        content->windowDidHide();
}

void PopoverWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Left)
        close();
    else
        FloatingWindow::keyPressEvent(event);
}

void PopoverWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (const auto dismiss = onDismiss)
        dismiss();
}

} // namespace quoxelin
