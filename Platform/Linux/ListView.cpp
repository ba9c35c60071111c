#include "Platform/Linux/ListView.h"

#include <QEvent>
#include <QLayout>
#include <QPainter>

namespace quoxelin {

ListView::ListView()
    : ElementView(ViewNode::Kind::list), column(new QWidget), scrollView(new ScrollView(this)),
      children(*column, QBoxLayout::TopToBottom) {
    scrollView->setWidget(column);
    column->setAutoFillBackground(false);
    column->installEventFilter(this);
}

QSize ListView::sizeHint() const {
    const int width = column->sizeHint().width() + marginsWidth();
    return {width, heightForWidth(width)};
}

int ListView::heightForWidth(int width) const {
    return children.heightOfFirst(listRowsInView, width - marginsWidth()) + marginsHeight();
}

void ListView::windowDidShow() {
    ElementView::windowDidShow();
    children.windowDidShow();
}

void ListView::windowDidHide() {
    ElementView::windowDidHide();
    children.windowDidHide();
}

void ListView::collectReadable(std::vector<QWidget*>& widgets) {
    children.collectReadable(widgets);
}

void ListView::bindContent(const ViewNode& node) {
    const auto before = children.count();
    children.bind(node);
    // A hidden list gets no layout requests.
    if (children.count() != before)
        updateGeometry();
}

void ListView::readContent(ViewNode& node) const {
    children.read(node);
}

/// The scroll area does not pass on its content's layout requests.
bool ListView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == column && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QWidget::eventFilter(watched, event);
}

/// Without a layout, which would be asked for the height instead of this widget.
void ListView::resizeEvent(QResizeEvent*) {
    scrollView->setGeometry(contentsRect());
}

void ListView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
}

} // namespace quoxelin
