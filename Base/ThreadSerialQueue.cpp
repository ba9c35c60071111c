#include "Base/ThreadSerialQueue.h"

#include <future>

namespace quoxelin {

void ThreadSerialQueue::async(Work work) {
    thread.async(std::move(work));
}

bool ThreadSerialQueue::wait(Duration longest) {
    // Shared, because the queue's thread may get there after the caller has gone on.
    const auto performed = std::make_shared<std::promise<void>>();
    async([performed] { performed->set_value(); });
    return performed->get_future().wait_for(longest) == std::future_status::ready;
}

} // namespace quoxelin
