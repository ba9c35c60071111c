#pragma once

#include "Base/Subscription.h"

#include <functional>
#include <mutex>

namespace quoxelin {

/// Ends blocking work from another thread: once, and for good.
class StopSignal {
  public:
    StopSignal() = default;
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Runs the interruption that is registered, on the calling thread.
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

    /// Registers what makes the blocking call return, one at a time; called at once when stopped
    /// already. After the token's end the interruption neither runs nor is running, so what it
    /// refers to may be destroyed. The token must not outlive the signal.
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
