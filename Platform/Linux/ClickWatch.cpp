#include "Platform/Linux/ClickWatch.h"

#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/Wayland/LayerShell.h"
#include "Platform/NSPanel.h"

#include <QApplication>
#include <QCursor>
#include <QWindow>
#include <algorithm>

namespace quoxelin {

namespace {

/// The longest time between a press and the status item's report of the click.
constexpr std::chrono::seconds longestClick{1};

/// How far the pointer may move during a click.
constexpr int longestSlip = 24;

bool isNear(const QPoint& a, const QPoint& b) {
    return (a - b).manhattanLength() <= longestSlip;
}

bool holds(const QWidget& window, const QPoint& point) {
    if (const auto* floating = dynamic_cast<const FloatingWindow*>(&window))
        return floating->card().contains(point);
    return window.frameGeometry().contains(point);
}

bool isOwnWindowAt(const QPoint& point) {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [&](const QWidget* window) {
        return window->isVisible() && holds(*window, point);
    });
}

bool isPanel(const QWidget& window) {
    return dynamic_cast<const FloatingWindow*>(&window) != nullptr &&
           window.windowType() != Qt::Popup;
}

/// Neither a panel nor part of one.
bool isOrdinary(const QWidget& window) {
    return window.parentWidget() == nullptr &&
           (window.windowType() == Qt::Window || window.windowType() == Qt::Dialog);
}

/// An X server that runs on a Wayland compositor hears only the presses in X windows.
bool hearsEveryPress() {
    return X11Desktop::instance() != nullptr && !ClickCatcher::isNeeded();
}

bool isFloatingWindowVisible() {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget* window) {
        return window->isVisible() && dynamic_cast<const FloatingWindow*>(window) != nullptr;
    });
}

} // namespace

ClickWatch::ClickWatch() {
    qApp->installEventFilter(this);
    if (ClickCatcher::isNeeded())
        catcher.emplace([this](Qt::MouseButton button) {
            handlers.notify(button == Qt::LeftButton ? NSEventMaskLeftMouseDown
                                                     : NSEventMaskRightMouseDown);
        });
    // On the layer shell the focus is ours until the panel closes.
    if (LayerShell::instance() == nullptr && !hearsEveryPress())
        connect(qApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* window) {
            if (window == nullptr)
                report(NSEventMaskLeftMouseDown, std::nullopt);
        });
}

Subscription ClickWatch::add(unsigned long long mask, std::function<void()> handler) {
    if (hearsEveryPress() && handlers.empty())
        X11Desktop::instance()->setMousePressed(
            [this](X11Desktop::MouseButton button, X11Desktop::Moment at) {
                onPress(button == X11Desktop::MouseButton::left ? NSEventMaskLeftMouseDown
                                                                : NSEventMaskRightMouseDown,
                        at);
            });
    return handlers.add([mask, handler = std::move(handler)](unsigned long long kind) {
        if ((kind & mask) != 0)
            handler();
    });
}

std::optional<QPoint> ClickWatch::placeOfClick(const QPoint& reported) const {
    const auto pointer = QCursor::pos();
    const bool isPressKnown = lastPress && lastPress->place &&
                              std::chrono::steady_clock::now() - lastPress->at < longestClick;
    if (isPressKnown && isNear(pointer, *lastPress->place))
        return lastPress->place;
    if (isNear(pointer, reported) || isOnBar(reported))
        return reported;
    // A press that has hidden our window may have been anywhere.
    if (isPressKnown && !lastPress->hidWindow)
        return lastPress->place;
    return std::nullopt;
}

void ClickWatch::findPointer(const std::function<void(std::optional<QPoint>)>& found) {
    if (!catcher) {
        found(std::nullopt);
        return;
    }
    catcher->findPointer([this, found](std::optional<QPoint> place) {
        found(place);
        if (!isFloatingWindowVisible())
            catcher->hide();
    });
}

bool ClickWatch::eventFilter(QObject* object, QEvent* event) {
    const bool isShown = event->type() == QEvent::Show;
    if ((!isShown && event->type() != QEvent::Hide) || event->spontaneous())
        return false;
    const auto* window = qobject_cast<QWidget*>(object);
    if (window == nullptr || !window->isWindow())
        return false;
    if (isPanel(*window) && catcher) {
        if (isShown)
            catcher->show();
        else
            catcher->hide();
    } else if (isShown && isOrdinary(*window)) {
        handlers.notify(NSEventMaskLeftMouseDown);
    }
    return false;
}

bool ClickWatch::takeClickOnStatusItem() {
    const auto now = std::chrono::steady_clock::now();
    const auto press = std::exchange(lastPress, std::nullopt);
    if (press && now - press->at < longestClick &&
        (!press->place || isNear(QCursor::pos(), *press->place)))
        return press->hidWindow;
    if (const auto* x11 = X11Desktop::instance())
        clickBeforePress = Click{x11->now(), QCursor::pos()};
    return false;
}

void ClickWatch::onPress(unsigned long long kind, X11Desktop::Moment at) {
    const auto click = std::exchange(clickBeforePress, std::nullopt);
    const auto point = QCursor::pos();
    if (click && X11Desktop::isBefore(at, click->at) && isNear(point, click->place))
        return;
    lastPress.reset();
    if (isOwnWindowAt(point) || (statusItemArea && statusItemArea().contains(point)))
        return;
    report(kind, point);
}

void ClickWatch::report(unsigned long long kind, std::optional<QPoint> place) {
    const bool wasVisible = isFloatingWindowVisible();
    handlers.notify(kind);
    lastPress =
        Press{std::chrono::steady_clock::now(), place, wasVisible && !isFloatingWindowVisible()};
}

} // namespace quoxelin
