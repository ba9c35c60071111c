#include "Base/ThreadSerialQueue.h"

#include <future>

namespace quoxelin {

void ThreadSerialQueue::async(Work work) {
    thread.async(std::move(work));
}

void ThreadSerialQueue::sync(Work work) {
    // Shared, because the queue's thread may still be in set_value when the caller continues.
    const auto performed = std::make_shared<std::promise<void>>();
    async([performed, &work] {
        work();
        performed->set_value();
    });
    performed->get_future().wait();
}

} // namespace quoxelin
