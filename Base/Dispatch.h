#pragma once

#include "Base/WorkItem.h"

#include <chrono>
#include <memory>
#include <string>

namespace quoxelin {

using Duration = std::chrono::nanoseconds;

/// A time span from seconds as people and texts write them.
constexpr Duration seconds(double value) {
    return Duration(static_cast<Duration::rep>(value * 1e9 + 0.5));
}

enum class QualityOfService { userInteractive, userInitiated, standard, utility, background };

/// Takes work and performs it elsewhere, later. Any thread.
class Queue {
  public:
    virtual ~Queue() = default;
    virtual void async(Work work) = 0;
};

/// The queue of the main thread: first in, first out, one turn of the main loop later.
class MainQueue : public Queue {
  public:
    /// Performs the work once, `delay` from now, unless the item is cancelled before.
    virtual WorkItem asyncAfter(Duration delay, Work work) = 0;
};

/// First in, first out, one at a time. Work that was submitted is performed even if the queue
/// object has gone meanwhile.
class SerialQueue : public Queue {
  public:
    /// Returns when the work, and all that was submitted before it, has been performed. Never call
    /// it from the queue itself.
    virtual void sync(Work work) = 0;
};

/// Threads and time, as the application sees them. Injected into everything that is asynchronous
/// or waits, so that tests run on a virtual clock.
class Dispatch {
  public:
    virtual ~Dispatch() = default;

    virtual MainQueue& main() = 0;

    /// Concurrent queues. Work may block for ever: other work still gets a thread, up to 64 blocked
    /// at once.
    virtual Queue& global(QualityOfService quality) = 0;

    /// A queue of its own; its work may block for ever without harm to any other queue.
    virtual std::unique_ptr<SerialQueue> makeSerial(std::string label) = 0;

    virtual bool isMainThread() const = 0;

    /// Blocks the calling thread. Never call it on the main thread.
    virtual void sleep(Duration duration) = 0;

    /// The wall clock.
    virtual std::chrono::system_clock::time_point date() const = 0;
};

} // namespace quoxelin
