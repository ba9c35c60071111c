#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace quoxelin {

using Work = std::function<void()>;

/// One piece of delayed work that can be called off. Copies stand for the same work. Any thread;
/// cancelling is free of races where it happens on the queue that would perform the work.
class WorkItem {
  public:
    explicit WorkItem(Work work) : state(std::make_shared<State>()) {
        state->work = std::move(work);
    }

    /// Drops the work, unless it has been performed or is being performed.
    void cancel() { take(); }

    /// Performs the work, unless it was cancelled or performed before.
    void perform() {
        if (const auto work = take())
            work();
    }

    /// False once the work was cancelled or performed.
    bool isPending() const {
        const std::lock_guard lock(state->mutex);
        return state->work != nullptr;
    }

  private:
    struct State {
        std::mutex mutex;
        Work work;
    };

    Work take() {
        const std::lock_guard lock(state->mutex);
        return std::exchange(state->work, nullptr);
    }

    std::shared_ptr<State> state;
};

} // namespace quoxelin
