#include "Platform/Linux/QtDispatch.h"

#include "Base/ThreadSerialQueue.h"
#include "Platform/Linux/QtTimers.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimerEvent>
#include <deque>

namespace quoxelin {

/// One event stands for all waiting work. Work that is added meanwhile waits for the next turn of
/// the loop, so a flood of work does not stop windows from painting.
class QtDispatch::Main final : public QObject, public MainQueue {
  public:
    void async(Work work) override {
        const std::lock_guard lock(mutex);
        waiting.push_back(std::move(work));
        if (!turnIsDue)
            QCoreApplication::postEvent(this, new QEvent(QEvent::User));
        turnIsDue = true;
    }

    WorkItem asyncAfter(Duration delay, Work work) override { return timers.start(delay, work); }

  protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::User) {
            performTurn();
            return true;
        }
        return QObject::event(event);
    }

    void timerEvent(QTimerEvent* event) override {
        killTimer(event->timerId());
        performTurn();
    }

  private:
    void performTurn() {
        std::deque<Work> turn;
        {
            const std::lock_guard lock(mutex);
            turn.swap(waiting);
        }
        for (auto& work : turn) {
            work();
            work = nullptr;
        }
        const std::lock_guard lock(mutex);
        turnIsDue = !waiting.empty();
        if (turnIsDue)
            startTimer(0);
    }

    QtTimers timers{*this};
    std::mutex mutex;
    std::deque<Work> waiting;
    bool turnIsDue = false;
};

QtDispatch::QtDispatch() : mainQueue(std::make_shared<Main>()) {}

QtDispatch::~QtDispatch() = default;

MainQueue& QtDispatch::main() {
    return *mainQueue;
}

Queue& QtDispatch::global(QualityOfService quality) {
    return globalQueues.at(static_cast<std::size_t>(quality)).threads;
}

std::unique_ptr<SerialQueue> QtDispatch::makeSerial(std::string) {
    // There are few serial queues, and each may block its thread forever.
    return std::make_unique<ThreadSerialQueue>();
}

bool QtDispatch::isMainThread() const {
    return std::this_thread::get_id() == mainThread;
}

void QtDispatch::sleep(Duration duration) {
    std::this_thread::sleep_for(duration);
}

std::chrono::system_clock::time_point QtDispatch::date() const {
    return std::chrono::system_clock::now();
}

} // namespace quoxelin
