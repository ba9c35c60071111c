#include "Platform/Linux/PopoverWindow.h"

#include "Platform/Linux/FocusOrder.h"
#include "Platform/Linux/ScreenGeometry.h"

#include <QCloseEvent>

namespace quoxelin {

namespace {
constexpr int gap = 4;
}

PopoverWindow::PopoverWindow(QWidget& anchor)
    : FloatingWindow(anchor.window(), Qt::Popup), anchor(anchor) {
    // The press that closes it shall not press a row below as well.
    setAttribute(Qt::WA_NoMouseReplay);
    anchor.window()->installEventFilter(this);
    setEscapePressed([this] { close(); });
    setResized([this] { moveBesideAnchor(); });
}

void PopoverWindow::bind(const Popover& record) {
    onDismiss = record.onDismiss;
    if (!content || !content->standsFor(record.content, true)) {
        content = ElementView::make(record.content.kind);
        setContent(&content->widget());
    }
    content->bind(record.content);
    setFocusOrder(*content);
    present();
}

Popover PopoverWindow::readBack() const {
    return {content->readBack(), nullptr};
}

void PopoverWindow::present() {
    if (isVisible() || !anchor.isVisible())
        return;
    fitContent();
    moveBesideAnchor();
    show();
    content->present();
}

void PopoverWindow::moveBesideAnchor() {
    const auto* owner = dynamic_cast<const FloatingWindow*>(anchor.window());
    const auto beside = owner != nullptr ? owner->card() : anchor.window()->geometry();
    const auto top = anchor.mapToGlobal(QPoint(0, 0)).y();
    QRect place(QPoint(beside.right() + 1 + gap, top), card().size());
    if (place.right() > usableScreenAt(beside.center()).right())
        place.moveRight(beside.left() - 1 - gap);
    moveCard(movedOntoScreen(place, beside.center()).topLeft());
}

/// It is not dismissed by going with its window.
bool PopoverWindow::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Hide)
        hide();
    return false;
}

void PopoverWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (const auto dismiss = onDismiss)
        dismiss();
}

} // namespace quoxelin
