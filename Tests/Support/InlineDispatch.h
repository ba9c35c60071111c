#pragma once

#include "Base/Dispatch.h"

#include <utility>

namespace quoxelin::testing {

/// Runs work at once, on the submitting thread, without sleeping. For fuzzers and benchmarks.
class InlineDispatch final : public Dispatch {
  public:
    /// Called instead of sleeping.
    Work onSleep = [] {};

    MainQueue& main() override { return mainQueue; }
    Queue& global(QualityOfService) override { return queue; }
    std::unique_ptr<SerialQueue> makeSerial(std::string) override {
        return std::make_unique<Serial>();
    }
    bool isMainThread() const override { return true; }
    void sleep(Duration) override { onSleep(); }
    std::chrono::system_clock::time_point date() const override {
        return std::chrono::system_clock::now();
    }

  private:
    struct Main final : MainQueue {
        void async(Work work) override { work(); }
        WorkItem asyncAfter(Duration, Work work) override {
            WorkItem item(std::move(work));
            item.perform();
            return item;
        }
    };
    struct Inline final : Queue {
        void async(Work work) override { work(); }
    };
    struct Serial final : SerialQueue {
        void async(Work work) override { work(); }
        bool wait(Duration) override { return true; }
    };

    Main mainQueue;
    Inline queue;
};

} // namespace quoxelin::testing
