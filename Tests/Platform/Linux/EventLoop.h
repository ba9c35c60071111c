#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace quoxelin::testing {

/// Runs Qt's event loop until the condition holds, waiting for events in between.
template <typename Condition>
void runLoopUntil(Condition condition) {
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// The same for conditions that cause no event, such as a file that another process writes.
template <typename Condition>
void pollUntil(Condition condition) {
    QTimer ticks;
    ticks.start(5);
    runLoopUntil(condition);
}

/// Runs everything that is ready, including deferred deletions and layouts.
inline void runLoopUntilIdle() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

/// Lays out nested widgets until nothing moves any more: each level takes another turn of the loop.
inline void runLoopUntilLaidOut() {
    for (int turn = 0; turn < 10; ++turn)
        runLoopUntilIdle();
}

} // namespace quoxelin::testing
