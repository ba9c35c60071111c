#include "Platform/macOS/MacDispatch.h"

#import <Foundation/Foundation.h>
#include <pthread.h>
#include <thread>

namespace quoxelin {

namespace {

/// Destroys the work, with what it captured, right after it ran on the queue.
void submit(dispatch_queue_t queue, Work work) {
    const auto held = std::make_shared<Work>(std::move(work));
    dispatch_async(queue, ^{
        @autoreleasepool {
            (*held)();
            *held = nullptr;
        }
    });
}

class Main final : public MainQueue {
  public:
    void async(Work work) override { submit(dispatch_get_main_queue(), std::move(work)); }

    WorkItem asyncAfter(Duration delay, Work work) override {
        const WorkItem item(std::move(work));
        dispatch_after(dispatch_time(DISPATCH_TIME_NOW, delay.count()), dispatch_get_main_queue(),
                       ^{
                           WorkItem due = item;
                           due.perform();
                       });
        return item;
    }
};

class Global final : public Queue {
  public:
    explicit Global(qos_class_t quality) : queue(dispatch_get_global_queue(quality, 0)) {}
    void async(Work work) override { submit(queue, std::move(work)); }

  private:
    dispatch_queue_t queue;
};

/// May be destroyed while work is pending: libdispatch retains a queue that has work.
class Serial final : public SerialQueue {
  public:
    explicit Serial(const std::string& label)
        : queue(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)) {}

    void async(Work work) override { submit(queue, std::move(work)); }

    bool wait(Duration longest) override {
        const auto performed = dispatch_semaphore_create(0);
        dispatch_async(queue, ^{
            dispatch_semaphore_signal(performed);
        });
        return dispatch_semaphore_wait(performed,
                                       dispatch_time(DISPATCH_TIME_NOW, longest.count())) == 0;
    }

  private:
    dispatch_queue_t queue;
};

qos_class_t classOf(QualityOfService quality) {
    switch (quality) {
    case QualityOfService::userInteractive:
        return QOS_CLASS_USER_INTERACTIVE;
    case QualityOfService::userInitiated:
        return QOS_CLASS_USER_INITIATED;
    case QualityOfService::standard:
        return QOS_CLASS_DEFAULT;
    case QualityOfService::utility:
        return QOS_CLASS_UTILITY;
    case QualityOfService::background:
        return QOS_CLASS_BACKGROUND;
    }
    return QOS_CLASS_DEFAULT;
}

} // namespace

MacDispatch::MacDispatch() : mainQueue(std::make_unique<Main>()) {
    for (const auto quality :
         {QualityOfService::userInteractive, QualityOfService::userInitiated,
          QualityOfService::standard, QualityOfService::utility, QualityOfService::background})
        globalQueues.emplace(quality, std::make_unique<Global>(classOf(quality)));
}

MacDispatch::~MacDispatch() = default;

MainQueue& MacDispatch::main() {
    return *mainQueue;
}

Queue& MacDispatch::global(QualityOfService quality) {
    return *globalQueues.at(quality);
}

std::unique_ptr<SerialQueue> MacDispatch::makeSerial(std::string label) {
    return std::make_unique<Serial>(label);
}

bool MacDispatch::isMainThread() const {
    return ::pthread_main_np() != 0;
}

void MacDispatch::sleep(Duration duration) {
    std::this_thread::sleep_for(duration);
}

std::chrono::system_clock::time_point MacDispatch::date() const {
    return std::chrono::system_clock::now();
}

} // namespace quoxelin
