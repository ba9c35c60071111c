#pragma once

#include "Base/Dispatch.h"

#include <map>

namespace quoxelin {

/// Queues and time of libdispatch. Create it on the main thread. While work blocks, libdispatch
/// gives a global queue up to 64 threads; each serial queue can run on a separate thread.
class MacDispatch final : public Dispatch {
  public:
    MacDispatch();
    ~MacDispatch() override;

    MainQueue& main() override;
    Queue& global(QualityOfService quality) override;
    std::unique_ptr<SerialQueue> makeSerial(std::string label) override;
    bool isMainThread() const override;
    void sleep(Duration duration) override;
    std::chrono::system_clock::time_point date() const override;

  private:
    std::unique_ptr<MainQueue> mainQueue;
    std::map<QualityOfService, std::unique_ptr<Queue>> globalQueues;
};

} // namespace quoxelin
