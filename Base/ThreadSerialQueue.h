#pragma once

#include "Base/ThreadPool.h"

namespace quoxelin {

/// A serial queue with a thread of its own, which it has from the beginning: its work is performed
/// also when the system has no further thread to give. Any thread.
///
/// Throws std::system_error when it cannot have even that one.
class ThreadSerialQueue final : public SerialQueue {
  public:
    void async(Work work) override;
    void sync(Work work) override;

  private:
    ThreadPool thread{1, std::chrono::milliseconds(0)};
};

} // namespace quoxelin
