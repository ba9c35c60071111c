#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace quoxelin {

using Work = std::function<void()>;

/// Delayed work that can be canceled. Copies refer to the same work. Any thread; canceling from the
/// queue that runs the work is race-free.
class WorkItem {
  public:
    explicit WorkItem(Work work) : state(std::make_shared<State>()) {
        state->work = std::move(work);
    }

    /// Drops the work, unless it has run or is running.
    void cancel() { take(); }

    /// Runs the work, unless it was canceled or has run.
    void perform() {
        if (const auto work = take())
            work();
    }

    /// False once the work was canceled or has run.
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
