#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace quoxelin::testing {

/// Runs the toolkit's event loop until the condition holds, waiting for events in between.
template <typename Condition>
void runLoopUntil(Condition condition) {
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// The same for what no event tells of, such as a file that another process writes.
template <typename Condition>
void pollUntil(Condition condition) {
    QTimer ticks;
    ticks.start(5);
    runLoopUntil(condition);
}

/// Runs what can run now, deferred deletions and layouts included.
inline void runLoopUntilIdle() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

} // namespace quoxelin::testing
