#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace quoxelin {

/// A thread of its own for conversations with the system bus, so that neither a bus that hangs nor
/// a busy main thread holds anything up. It never runs anybody else's code.
class BusThread {
  public:
    BusThread();
    /// What has not been performed is dropped.
    ~BusThread();
    BusThread(const BusThread&) = delete;
    BusThread& operator=(const BusThread&) = delete;

    /// Performs the work on the thread, in the order of the calls. Any thread.
    void perform(std::function<void()> work);

  private:
    struct Loop;
    std::unique_ptr<Loop> loop;
    std::thread thread;
};

} // namespace quoxelin
