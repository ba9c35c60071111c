#pragma once

#include "Base/Dispatch.h"

#include <memory>

namespace quoxelin {

/// A serial queue that borrows a thread of a concurrent queue while it has work, and needs none
/// otherwise. The concurrent queue has to outlive it.
class PooledSerialQueue final : public SerialQueue {
  public:
    explicit PooledSerialQueue(Queue& threads);
    ~PooledSerialQueue() override;

    void async(Work work) override;
    void sync(Work work) override;

  private:
    struct State;
    static void drain(const std::shared_ptr<State>& state);

    Queue& threads;
    std::shared_ptr<State> state;
};

} // namespace quoxelin
