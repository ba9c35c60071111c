#include "Platform/Linux/QuitSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace quoxelin {

namespace {

/// A signal handler may do little more than write to a pipe.
std::atomic<int> writeEnd = -1;

void onSignal(int) {
    const int savedError = errno;
    const char wake = 0;
    [[maybe_unused]] const auto written = ::write(writeEnd, &wake, 1);
    errno = savedError;
}

void handleWith(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> quit) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // no descriptor left: the signals keep ending the process at once
    readEnd = ends[0];
    writeEnd = ends[1];
    notifier = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this, quit = std::move(quit)] {
                         std::array<char, 64> wakes;
                         while (::read(readEnd, wakes.data(), wakes.size()) > 0) {
                         }
                         quit();
                     });
    handleWith(onSignal);
}

QuitSignals::~QuitSignals() {
    if (readEnd < 0)
        return;
    handleWith(SIG_DFL);
    notifier.reset();
    ::close(readEnd);
    ::close(writeEnd.exchange(-1));
}

} // namespace quoxelin
