#pragma once

#include "Base/ThreadPool.h"

#include <array>
#include <memory>
#include <thread>

namespace quoxelin {

/// The main queue on Qt's event loop, and the other queues on threads. Create it on the main
/// thread, after the application object. Work that is still waiting when the loop ends is dropped.
class QtDispatch final : public Dispatch {
  public:
    QtDispatch();
    ~QtDispatch() override;

    MainQueue& main() override;
    Queue& global(QualityOfService quality) override;
    std::unique_ptr<SerialQueue> makeSerial(std::string label) override;
    bool isMainThread() const override;
    void sleep(Duration duration) override;
    std::chrono::system_clock::time_point date() const override;

  private:
    class Main;
    struct Global {
        /// More threads than a user can make requests hang that the daemon never answers.
        ThreadPool threads{512, std::chrono::seconds(5)};
    };

    const std::thread::id mainThread = std::this_thread::get_id();
    std::shared_ptr<Main> mainQueue;
    std::array<Global, 5> globalQueues;
};

} // namespace quoxelin
