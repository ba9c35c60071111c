#include "Platform/Linux/ClickWatch.h"

#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/X11Desktop.h"
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

bool isFloatingWindowVisible() {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget* window) {
        return window->isVisible() && dynamic_cast<const FloatingWindow*>(window) != nullptr;
    });
}

} // namespace

ClickWatch::ClickWatch() {
    if (X11Desktop::instance() != nullptr)
        return;
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* window) {
        if (window == nullptr)
            report(NSEventMaskLeftMouseDown);
    });
}

Subscription ClickWatch::add(unsigned long long mask, std::function<void()> handler) {
    if (auto* x11 = X11Desktop::instance(); x11 != nullptr && handlers.empty())
        x11->setMousePressed([this](X11Desktop::MouseButton button) {
            onPress(button == X11Desktop::MouseButton::left ? NSEventMaskLeftMouseDown
                                                            : NSEventMaskRightMouseDown);
        });
    return handlers.add([mask, handler = std::move(handler)](unsigned long long kind) {
        if ((kind & mask) != 0)
            handler();
    });
}

std::optional<QPoint> ClickWatch::placeOfClick(const QPoint& reported) const {
    if (lastPress && std::chrono::steady_clock::now() - lastPress->at < longestClick)
        return lastPress->place;
    if (isNear(QCursor::pos(), reported) || isOnBar(reported))
        return reported;
    return std::nullopt;
}

bool ClickWatch::takeClickOnStatusItem() {
    const auto now = std::chrono::steady_clock::now();
    const auto press = std::exchange(lastPress, std::nullopt);
    if (press && now - press->at < longestClick && isNear(QCursor::pos(), press->place))
        return press->hidWindow;
    clickBeforePress = now;
    return false;
}

void ClickWatch::onPress(unsigned long long kind) {
    const auto click = std::exchange(clickBeforePress, std::nullopt);
    if (click && std::chrono::steady_clock::now() - *click < longestClick)
        return;
    lastPress.reset();
    const auto point = QCursor::pos();
    if (isOwnWindowAt(point) || (statusItemArea && statusItemArea().contains(point)))
        return;
    report(kind);
}

void ClickWatch::report(unsigned long long kind) {
    const bool wasVisible = isFloatingWindowVisible();
    handlers.notify(kind);
    lastPress = Press{std::chrono::steady_clock::now(), QCursor::pos(),
                      wasVisible && !isFloatingWindowVisible()};
}

} // namespace quoxelin
