#import <Foundation/Foundation.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <thread>
#include <unistd.h>

#undef dispatch_source_create

namespace {

constexpr int signalCount = 65;

std::array<int, 2> signalPipe;
std::mutex sourcesLock;
std::array<std::set<dispatch_source_t>, signalCount> sources;
std::array<struct sigaction, signalCount> previous;

/// Runs before the program's handler.
void pass(int number) {
    const int kept = errno;
    const auto byte = static_cast<unsigned char>(number);
    if (::write(signalPipe[1], &byte, 1) != 1)
        std::abort();
    const auto handler = previous[static_cast<std::size_t>(number)].sa_handler;
    if (handler != SIG_IGN && handler != SIG_DFL)
        handler(number);
    errno = kept;
}

void readSignals() {
    unsigned char number = 0;
    for (;;) {
        const auto count = ::read(signalPipe[0], &number, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1)
            return;
        const std::lock_guard lock(sourcesLock);
        for (const auto source : sources[number])
            if (!dispatch_source_testcancel(source))
                dispatch_source_merge_data(source, 1);
    }
}

void listen() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (::pipe2(signalPipe.data(), O_CLOEXEC) != 0)
            std::abort();
        std::thread(readSignals).detach();
    });
}

void putInFront(int number) {
    struct sigaction current {};
    ::sigaction(number, nullptr, &current);
    if (current.sa_handler != pass)
        previous[static_cast<std::size_t>(number)] = current;
    struct sigaction own {};
    own.sa_handler = pass;
    own.sa_flags = SA_RESTART;
    ::sigaction(number, &own, nullptr);
}

} // namespace

dispatch_source_t stage_dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                               unsigned long mask, dispatch_queue_t queue) {
    if (type != DISPATCH_SOURCE_TYPE_SIGNAL)
        return dispatch_source_create(type, handle, mask, queue);
    listen();
    const dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_DATA_ADD, 0, 0, queue);
    {
        const std::lock_guard lock(sourcesLock);
        std::erase_if(sources[handle],
                      [](dispatch_source_t each) { return dispatch_source_testcancel(each) != 0; });
        sources[handle].insert(source);
    }
    putInFront(static_cast<int>(handle));
    return source;
}
