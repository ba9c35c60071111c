#include "Base/PooledSerialQueue.h"

#include <deque>
#include <future>
#include <mutex>

namespace quoxelin {

struct PooledSerialQueue::State {
    std::mutex mutex;
    std::deque<Work> waiting;
    bool draining = false;
};

PooledSerialQueue::PooledSerialQueue(Queue& threads)
    : threads(threads), state(std::make_shared<State>()) {}

PooledSerialQueue::~PooledSerialQueue() = default;

void PooledSerialQueue::async(Work work) {
    {
        const std::lock_guard lock(state->mutex);
        state->waiting.push_back(std::move(work));
        if (state->draining)
            return;
        state->draining = true;
    }
    threads.async([state = state] { drain(state); });
}

void PooledSerialQueue::sync(Work work) {
    // Shared, because the queue's thread may still be in set_value when the caller goes on.
    const auto performed = std::make_shared<std::promise<void>>();
    async([performed, &work] {
        work();
        performed->set_value();
    });
    performed->get_future().wait();
}

void PooledSerialQueue::drain(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->mutex);
    while (!state->waiting.empty()) {
        auto work = std::move(state->waiting.front());
        state->waiting.pop_front();
        lock.unlock();
        work();
        work = nullptr;
        lock.lock();
    }
    state->draining = false;
}

} // namespace quoxelin
