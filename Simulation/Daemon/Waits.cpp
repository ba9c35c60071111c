#include "Simulation/Daemon/Waits.h"

#include <boost/asio/steady_timer.hpp>

#include <utility>

namespace quoxelin::sim {

struct Waits::Wait {
    std::function<bool()> holds;
    std::function<void(bool)> done; ///< empty once it was called
    boost::asio::steady_timer timer;

    void finish(bool held) {
        timer.cancel();
        if (const auto handler = std::exchange(done, {})) {
            handler(held);
        }
    }
};

Waits::Waits(boost::asio::io_context& contextToUse) : context(contextToUse) {}

Waits::~Waits() = default;

void Waits::add(std::function<bool()> holds, std::chrono::milliseconds timeout,
                std::function<void(bool)> done) {
    const auto wait = std::make_shared<Wait>(
        Wait{std::move(holds), std::move(done), boost::asio::steady_timer(context, timeout)});
    waiting.push_back(wait);
    wait->timer.async_wait([this, wait](boost::system::error_code canceled) {
        if (!canceled) {
            waiting.remove(wait);
            wait->finish(false);
        }
    });
    check();
}

void Waits::check() {
    for (const auto& wait : std::list(waiting)) {
        if (wait->holds()) {
            waiting.remove(wait);
            wait->finish(true);
        }
    }
}

} // namespace quoxelin::sim
