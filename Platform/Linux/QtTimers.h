#pragma once

#include "Base/Dispatch.h"

#include <QObject>
#include <memory>

namespace quoxelin {

/// One-shot timers on the main thread's event loop. A timer that is called off is taken out of the
/// loop, so that nobody wakes up for it.
class QtTimers {
  public:
    /// Timers that are started on other threads reach the main thread through the queue.
    explicit QtTimers(Queue& mainQueue);
    QtTimers(const QtTimers&) = delete;
    QtTimers& operator=(const QtTimers&) = delete;
    ~QtTimers();

    /// Performs the work on the main thread, once, never before the delay is over. Any thread.
    WorkItem start(Duration delay, Work work);

    /// Timers that the loop waits for. Main thread.
    std::size_t count() const;

  private:
    class Loop;
    struct CallOff;
    std::shared_ptr<Loop> loop;
};

} // namespace quoxelin
