#pragma once

#include "Base/ThreadPool.h"

namespace quoxelin {

/// A serial queue with one dedicated thread, started with the queue, so work still runs when the
/// system cannot provide more threads. Any thread.
///
/// Throws std::system_error if the thread cannot be started.
class ThreadSerialQueue final : public SerialQueue {
  public:
    void async(Work work) override;
    bool wait(Duration longest) override;

  private:
    ThreadPool thread{1, std::chrono::milliseconds(0)};
};

} // namespace quoxelin
