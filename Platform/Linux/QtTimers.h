#pragma once

#include "Base/Dispatch.h"

#include <QObject>
#include <memory>

namespace quoxelin {

/// One-shot timers on the main thread's event loop. A canceled timer is removed from the loop, so
/// it causes no wake-up.
class QtTimers {
  public:
    /// Timers started on other threads reach the main thread through the queue. Longer delays take
    /// several steps, because Qt counts milliseconds in an int.
    explicit QtTimers(Queue& mainQueue,
                      std::chrono::milliseconds longestStep = std::chrono::hours(24));
    QtTimers(const QtTimers&) = delete;
    QtTimers& operator=(const QtTimers&) = delete;
    ~QtTimers();

    /// Performs the work once on the main thread, never before the delay is over. Any thread.
    WorkItem start(Duration delay, Work work);

    /// The number of pending timers. Main thread.
    std::size_t count() const;

  private:
    class Loop;
    struct CallOff;
    std::shared_ptr<Loop> loop;
};

} // namespace quoxelin
