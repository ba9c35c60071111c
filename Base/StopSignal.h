#pragma once

#include "Base/Subscription.h"

#include <functional>
#include <mutex>

namespace quoxelin {

/// Interrupts blocking work from another thread, once and permanently.
class StopSignal {
  public:
    StopSignal() = default;
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Calls the registered interruption on the calling thread.
    void stop() {
        const std::lock_guard lock(mutex);
        stopped = true;
        if (interruption)
            interruption();
    }

    bool isStopped() const {
        const std::lock_guard lock(mutex);
        return stopped;
    }

    /// Registers how to interrupt a blocking call, one at a time. If already stopped, calls it at
    /// once. After the token's end the interruption is neither running nor called again, so the
    /// objects it uses may be destroyed. The token must not outlive the signal.
    Subscription onStop(std::function<void()> interrupt) {
        const std::lock_guard lock(mutex);
        interruption = std::move(interrupt);
        if (stopped)
            interruption();
        return Subscription([this] {
            const std::lock_guard unregistering(mutex);
            interruption = nullptr;
        });
    }

  private:
    mutable std::mutex mutex;
    bool stopped = false;
    std::function<void()> interruption;
};

} // namespace quoxelin
