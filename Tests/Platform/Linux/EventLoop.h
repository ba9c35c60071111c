#pragma once

#include <QCoreApplication>
#include <QEventLoop>

namespace quoxelin::testing {

/// Runs the toolkit's event loop until the condition holds, waiting for events in between.
template <typename Condition>
void runLoopUntil(Condition condition) {
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// Runs what can run now, deferred deletions and layouts included.
inline void runLoopUntilIdle() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

} // namespace quoxelin::testing
