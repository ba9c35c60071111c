#pragma once

#include "Base/Dispatch.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace quoxelin {

/// A pool that starts a thread when all are busy and lets idle ones exit. One thread starts with
/// the pool and stays, so work still runs when the system cannot provide more. Any thread.
///
/// The threads are detached: blocked work keeps its thread, and neither the pool's destructor nor
/// the end of the process waits for it. Work submitted before the destructor still runs.
class ThreadPool final : public Queue {
  public:
    /// Runs at most `limit` threads; further work waits for a free one. A thread exits after
    /// `idleTimeout` without work, unless it is the only one.
    ///
    /// Throws std::system_error if the first thread cannot be started.
    explicit ThreadPool(std::size_t limit, std::chrono::milliseconds idleTimeout);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    ~ThreadPool() override;

    void async(Work work) override;

    /// The number of threads, busy and idle.
    std::size_t threadCount() const;

  private:
    struct State;
    void startThread();
    static void serve(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state;
};

} // namespace quoxelin
