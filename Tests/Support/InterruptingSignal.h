#pragma once

#include <csignal>
#include <pthread.h>
#include <thread>

namespace quoxelin::testing {

/// A signal whose handler is installed without SA_RESTART, so it interrupts system calls.
class InterruptingSignal {
  public:
    InterruptingSignal() {
        struct sigaction interrupting {};
        interrupting.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &interrupting, &before);
    }
    InterruptingSignal(const InterruptingSignal&) = delete;
    InterruptingSignal& operator=(const InterruptingSignal&) = delete;
    ~InterruptingSignal() { ::sigaction(SIGUSR1, &before, nullptr); }

    void interrupt(std::thread& thread) const {
        ::pthread_kill(thread.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }

  private:
    struct sigaction before {};
};

} // namespace quoxelin::testing
