#include "Simulation/Desktop/Linux/StandardInput.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QWidget>
#include <QWindow>
#include <unistd.h>

namespace quoxelin {

namespace {

/// The turns of the main loop in which a window that has opened gets the focus.
constexpr int longestWait = 10;

/// Without a display, a popover gets the focus a little after it opens. If it closes before that,
/// no window gets the focus back.
bool popoverAwaitsFocus() {
    const auto* const popover = QApplication::activePopupWidget();
    return popover != nullptr && QGuiApplication::platformName() == "offscreen" &&
           QGuiApplication::focusWindow() != popover->windowHandle();
}

} // namespace

StandardInput::StandardInput(std::function<void(std::string_view line)> take,
                             std::function<void()> beforeWaiting)
    : take(std::move(take)), lines([this](std::string_view line) {
          waiting.emplace_back(line);
          turn.start();
      }) {
    if (::isatty(STDIN_FILENO) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] {
        if (!lines.read(STDIN_FILENO))
            notifier->setEnabled(false);
    });
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                     notifier.get(), std::move(beforeWaiting));
    QObject::connect(&turn, &QTimer::timeout, [this] { takeOne(); });
}

void StandardInput::takeOne() {
    if (popoverAwaitsFocus() && ++turnsWaited < longestWait)
        return;
    turnsWaited = 0;
    const auto line = std::move(waiting.front());
    waiting.pop_front();
    if (waiting.empty())
        turn.stop();
    take(line);
}

} // namespace quoxelin
