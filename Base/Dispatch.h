#pragma once

#include "Base/WorkItem.h"

#include <chrono>
#include <memory>
#include <string>

namespace quoxelin {

using Duration = std::chrono::nanoseconds;

constexpr Duration seconds(double value) {
    return Duration(static_cast<Duration::rep>(value * 1e9 + 0.5));
}

enum class QualityOfService { userInteractive, userInitiated, standard, utility, background };

/// Performs work later, on another turn or thread. Any thread.
class Queue {
  public:
    virtual ~Queue() = default;
    virtual void async(Work work) = 0;
};

/// The main thread's queue: first in, first out. Work runs on a later turn of the main loop.
class MainQueue : public Queue {
  public:
    /// Performs the work once, after `delay`, unless the item is canceled first.
    virtual WorkItem asyncAfter(Duration delay, Work work) = 0;
};

/// First in, first out, one at a time. Work already submitted still runs after the queue object is
/// destroyed.
class SerialQueue : public Queue {
  public:
    /// Waits until everything submitted before has run, but no longer than that. Returns whether it
    /// has run. Never call it from the queue itself.
    virtual bool wait(Duration longest) = 0;
};

/// Threads and time. Injected into everything that is asynchronous or waits, so that tests can run
/// on a virtual clock.
class Dispatch {
  public:
    virtual ~Dispatch() = default;

    virtual MainQueue& main() = 0;

    /// Concurrent queues, one for each quality. Work may block forever: it can hold up only work of
    /// the same quality, once the system provides no more threads.
    virtual Queue& global(QualityOfService quality) = 0;

    /// A new queue. Its work may block forever without holding up other queues.
    virtual std::unique_ptr<SerialQueue> makeSerial(std::string label) = 0;

    virtual bool isMainThread() const = 0;

    /// Blocks the calling thread. Never call it on the main thread.
    virtual void sleep(Duration duration) = 0;

    virtual std::chrono::system_clock::time_point date() const = 0;
};

} // namespace quoxelin
