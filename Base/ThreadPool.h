#pragma once

#include "Base/Dispatch.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace quoxelin {

/// Threads that come when there is work and nobody is free, and leave when they had nothing to do
/// for a while. One of them is there from the beginning and stays, so that work is performed also
/// when the system has no further thread to give. Any thread.
///
/// The threads are detached: work that blocks for ever keeps its thread, and neither the pool's
/// destruction nor the end of the process waits for it. Work that was submitted before the pool
/// went is still performed.
class ThreadPool final : public Queue {
  public:
    /// At most `limit` threads at once; work beyond that waits for one to become free. A thread
    /// without work leaves after `patience`, if it is not the only one.
    ///
    /// Throws std::system_error when the system has not even one thread.
    explicit ThreadPool(std::size_t limit, std::chrono::milliseconds patience);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    ~ThreadPool() override;

    void async(Work work) override;

    /// The threads there are, busy and waiting.
    std::size_t threadCount() const;

  private:
    struct State;
    void startThread();
    static void serve(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state;
};

} // namespace quoxelin
