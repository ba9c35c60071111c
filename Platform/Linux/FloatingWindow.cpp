#include "Platform/Linux/FloatingWindow.h"

#include "Platform/Linux/MenuKeys.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/ScrollView.h"
#include "Platform/Linux/Theme.h"
#include "Platform/Linux/X11Desktop.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMarginsF>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <QWindow>

namespace quoxelin {

namespace {

/// Between the card's edge and its content, so that highlights do not touch the edge.
constexpr int inset = 6;

constexpr int shadowReach = 18;
constexpr int shadowDrop = 6;

bool desktopBlendsWindows() {
    const auto* x11 = X11Desktop::instance();
    return x11 == nullptr || x11->hasCompositor();
}

/// A hidden widget does not notice that what it contains has changed.
void updateLayouts(QWidget& widget) {
    for (auto* child : widget.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (!child->isWindow())
            updateLayouts(*child);
    if (auto* layout = widget.layout()) {
        layout->invalidate();
        layout->activate();
    }
}

} // namespace

FloatingWindow::FloatingWindow(QWidget* parent, Qt::WindowFlags flags)
    : LayeredWindow(parent, flags | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint),
      scrollView(new ScrollView(this)), isBlended(desktopBlendsWindows()) {
    setAttribute(Qt::WA_TranslucentBackground);
    // The window itself has the focus until the user moves through the rows, so no row is marked at
    // first.
    setFocusPolicy(Qt::ClickFocus);
    scrollView->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->setContentsMargins(inset, inset, inset, inset);
    layout->addWidget(scrollView);
    setContentsMargins(shadowMargins());
}

void FloatingWindow::setContent(QWidget* content) {
    scrollView->setWidget(content);
    content->setAutoFillBackground(false);
    content->installEventFilter(this);
}

void FloatingWindow::setCornerRadius(int radius) {
    cornerRadius = radius;
    updateShape();
}

void FloatingWindow::setHasShadow(bool newHasShadow) {
    hasShadow = newHasShadow;
    updateShape();
}

QMargins FloatingWindow::shadowMargins() const {
    if (!hasShadow || !isBlended)
        return {};
    return {shadowReach, shadowReach - shadowDrop, shadowReach, shadowReach + shadowDrop};
}

QRect FloatingWindow::card() const {
    return geometry().marginsRemoved(shadowMargins());
}

void FloatingWindow::moveCard(const QPoint& topLeft) {
    const auto margins = shadowMargins();
    move(topLeft - QPoint(margins.left(), margins.top()));
}

QSize FloatingWindow::wantedCardSize() const {
    const auto* content = scrollView->widget();
    if (content == nullptr)
        return {};
    const int width =
        std::clamp(content->sizeHint().width(), content->minimumWidth(), content->maximumWidth());
    const int height = content->hasHeightForWidth() ? content->heightForWidth(width)
                                                    : content->sizeHint().height();
    // A window manager moves a window that does not fit, its shadow included.
    const auto margins = shadowMargins();
    const int around = std::max(2 * distanceToScreenEdge, margins.top() + margins.bottom());
    const int room = usableScreenAt(screenPoint).height() - 2 * inset - around;
    return QSize(width, std::min(height, room)) + QSize(2 * inset, 2 * inset);
}

void FloatingWindow::fitContent() {
    if (!isVisible()) {
        isBlended = desktopBlendsWindows();
        updateShape();
        if (auto* content = scrollView->widget()) {
            updateLayouts(*content);
            // Updating asks for another update, which is done by now.
            QCoreApplication::removePostedEvents(content, QEvent::LayoutRequest);
        }
    }
    const auto size = wantedCardSize().grownBy(shadowMargins());
    if (size == this->size())
        return;
    // Tiling window managers do not tile a window of a fixed size.
    setFixedSize(size);
    if (isVisible() && resized)
        resized();
}

bool FloatingWindow::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest)
        fitContent();
    return handled;
}

/// The scroll area does not pass on its content's layout requests.
bool FloatingWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == scrollView->widget() && event->type() == QEvent::LayoutRequest)
        QCoreApplication::postEvent(this, new QEvent(QEvent::LayoutRequest));
    return QWidget::eventFilter(watched, event);
}

void FloatingWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        if (escapePressed)
            escapePressed();
    } else if (!moveFocusAsInMenu(*this, event->key())) {
        QWidget::keyPressEvent(event);
    }
}

void FloatingWindow::showEvent(QShowEvent* event) {
    setFocus();
    tellDesktopOfShadow();
    QWidget::showEvent(event);
}

void FloatingWindow::resizeEvent(QResizeEvent* event) {
    LayeredWindow::resizeEvent(event);
    updateShape();
    tellDesktopOfShadow();
}

/// A press on the shadow is for what is below it, and the shadow may reach over bars.
void FloatingWindow::tellDesktopOfShadow() {
    if (!isVisible())
        return;
    if (LayerShell::instance() != nullptr)
        windowHandle()->setMask(rect().marginsRemoved(shadowMargins()));
    if (auto* x11 = X11Desktop::instance())
        x11->setShadow(static_cast<std::uint32_t>(winId()),
                       (QMarginsF(shadowMargins()) * devicePixelRatio()).toMargins());
}

/// Without a compositor the corners are cut off hard.
void FloatingWindow::updateShape() {
    setContentsMargins(shadowMargins());
    if (isBlended) {
        clearMask();
    } else {
        QPainterPath path;
        path.addRoundedRect(rect(), cornerRadius, cornerRadius);
        setMask(path.toFillPolygon().toPolygon());
    }
    update();
}

void FloatingWindow::paintShadow(QPainter& painter) const {
    const auto body = QRectF(rect().marginsRemoved(shadowMargins()));
    painter.setPen(Qt::NoPen);
    for (int reach = shadowReach; reach > 0; --reach) {
        const auto nearness = 1.0 - static_cast<double>(reach) / shadowReach;
        const auto drop = shadowDrop * 0.7;
        painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(0.022 * nearness)));
        painter.drawRoundedRect(body.adjusted(-reach, -reach + drop, reach, reach + drop),
                                cornerRadius + reach, cornerRadius + reach);
    }
}

void FloatingWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasShadow && isBlended)
        paintShadow(painter);
    const auto body = QRectF(rect().marginsRemoved(shadowMargins()));
    const Theme theme;
    painter.setBrush(theme.panelBackground());
    painter.setPen(QPen(theme.panelBorder(), 1));
    painter.drawRoundedRect(body.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

} // namespace quoxelin
