#include "Tests/Support/Fiber.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace quoxelin::testing {

struct Fiber::Context {
    /// Passes control to the other side, and waits until it comes back.
    void pass(bool toFunction) {
        std::unique_lock lock(mutex);
        isFunctionsTurn = toFunction;
        turn.notify_one();
        turn.wait(lock, [&] { return isFunctionsTurn != toFunction; });
    }

    void run(const std::function<void()>& function) {
        {
            std::unique_lock lock(mutex);
            turn.wait(lock, [&] { return isFunctionsTurn; });
        }
        function();
        const std::lock_guard lock(mutex);
        isFunctionsTurn = false;
        turn.notify_one();
    }

    std::mutex mutex;
    std::condition_variable turn;
    bool isFunctionsTurn = false;
    std::thread thread;
};

Fiber::Fiber() : context(std::make_unique<Context>()) {}

Fiber::~Fiber() {
    if (context->thread.joinable())
        context->thread.join();
}

void Fiber::start(std::function<void()> function) {
    context->thread = std::thread(
        [context = context.get(), function = std::move(function)] { context->run(function); });
}

void Fiber::resume() {
    context->pass(true);
}

void Fiber::handBack() {
    context->pass(false);
}

} // namespace quoxelin::testing
