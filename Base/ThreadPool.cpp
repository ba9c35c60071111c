#include "Base/ThreadPool.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

namespace quoxelin {

struct ThreadPool::State {
    State(std::size_t limit, std::chrono::milliseconds idleTimeout)
        : limit(limit), idleTimeout(idleTimeout) {}

    const std::size_t limit;
    const std::chrono::milliseconds idleTimeout;

    std::mutex mutex;
    std::condition_variable workCame;
    std::deque<Work> waiting;
    std::size_t threads = 0;
    std::size_t idleThreads = 0;
    bool abandoned = false;
};

ThreadPool::ThreadPool(std::size_t limit, std::chrono::milliseconds idleTimeout)
    : state(std::make_shared<State>(limit, idleTimeout)) {
    const std::lock_guard lock(state->mutex);
    startThread();
}

ThreadPool::~ThreadPool() {
    const std::lock_guard lock(state->mutex);
    state->abandoned = true;
    state->workCame.notify_all();
}

void ThreadPool::async(Work work) {
    const std::lock_guard lock(state->mutex);
    state->waiting.push_back(std::move(work));
    if (state->waiting.size() <= state->idleThreads) {
        state->workCame.notify_one();
        return;
    }
    if (state->threads == state->limit)
        return;
    try {
        startThread();
    } catch (const std::system_error&) {
        // The system has no threads left. An existing thread will take the work.
    }
}

/// Requires the lock: the new thread waits for it before it reads the counts.
void ThreadPool::startThread() {
    std::thread([state = state] { serve(state); }).detach();
    ++state->threads;
}

void ThreadPool::serve(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->mutex);
    for (;;) {
        if (state->waiting.empty()) {
            const auto isOver = [&] { return !state->waiting.empty() || state->abandoned; };
            ++state->idleThreads;
            if (state->threads > 1)
                state->workCame.wait_for(lock, state->idleTimeout, isOver);
            else
                state->workCame.wait(lock, isOver);
            --state->idleThreads;
        }
        if (state->waiting.empty()) {
            if (state->abandoned || state->threads > 1)
                break;
            continue; // the other threads have exited, so this one stays
        }
        auto work = std::move(state->waiting.front());
        state->waiting.pop_front();
        lock.unlock();
        work();
        work = nullptr; // destroys what the work holds before the lock is taken
        lock.lock();
    }
    --state->threads;
}

std::size_t ThreadPool::threadCount() const {
    const std::lock_guard lock(state->mutex);
    return state->threads;
}

} // namespace quoxelin
