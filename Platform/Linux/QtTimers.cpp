#include "Platform/Linux/QtTimers.h"

#include <QTimerEvent>
#include <algorithm>
#include <atomic>
#include <map>
#include <thread>

namespace quoxelin {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::hours longestDelay{24 * 365 * 100};

Clock::time_point deadlineAfter(Duration delay) {
    return Clock::now() + std::clamp<Duration>(delay, Duration::zero(), longestDelay);
}

} // namespace

/// The main thread's part. The timers' work items keep it alive.
class QtTimers::Loop final : public QObject, public std::enable_shared_from_this<Loop> {
  public:
    Loop(Queue& mainQueue, std::chrono::milliseconds longestStep)
        : mainQueue(mainQueue), longestStep(longestStep) {}

    void perform(Work work) {
        if (std::this_thread::get_id() == mainThread)
            work();
        else
            mainQueue.async(std::move(work));
    }

    void add(std::uint64_t number, Clock::time_point deadline, const WorkItem& item) {
        if (!item.isPending()) // canceled on the way here
            return;
        const int timer = startTimer(nextStep(deadline), Qt::PreciseTimer);
        timers.emplace(timer, Timer{number, deadline, item});
        byNumber.emplace(number, timer);
    }

    void drop(std::uint64_t number) {
        const auto found = byNumber.find(number);
        if (found == byNumber.end())
            return;
        killTimer(found->second);
        timers.erase(found->second);
        byNumber.erase(found);
    }

    std::size_t count() const { return timers.size(); }

    std::atomic<std::uint64_t> nextNumber = 0;

  protected:
    void timerEvent(QTimerEvent* event) override {
        const auto found = timers.find(event->timerId());
        if (found == timers.end())
            return;
        const auto timer = found->second;
        drop(timer.number);
        if (Clock::now() < timer.deadline) {
            add(timer.number, timer.deadline, timer.item);
            return;
        }
        auto item = timer.item;
        item.perform();
    }

  private:
    /// Rounds up, so that a timer never fires early.
    std::chrono::milliseconds nextStep(Clock::time_point deadline) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        return std::clamp(left, std::chrono::milliseconds(0), longestStep);
    }

    struct Timer {
        std::uint64_t number;
        Clock::time_point deadline;
        WorkItem item;
    };

    Queue& mainQueue;
    const std::chrono::milliseconds longestStep;
    const std::thread::id mainThread = std::this_thread::get_id();
    std::map<int, Timer> timers;
    std::map<std::uint64_t, int> byNumber;
};

/// Removes the timer once the work has run or was canceled.
struct QtTimers::CallOff {
    std::weak_ptr<Loop> loop;
    std::uint64_t number;

    ~CallOff() {
        if (const auto existing = loop.lock())
            existing->perform([weak = loop, number = number] {
                if (const auto stillThere = weak.lock())
                    stillThere->drop(number);
            });
    }
};

QtTimers::QtTimers(Queue& mainQueue, std::chrono::milliseconds longestStep)
    : loop(std::make_shared<Loop>(mainQueue, longestStep)) {}

QtTimers::~QtTimers() = default;

WorkItem QtTimers::start(Duration delay, Work work) {
    const auto number = loop->nextNumber++;
    const auto deadline = deadlineAfter(delay);
    std::shared_ptr<CallOff> callOff(new CallOff{loop, number});
    WorkItem item([callOff = std::move(callOff), work = std::move(work)] { work(); });
    loop->perform([loop = loop, number, deadline, item] { loop->add(number, deadline, item); });
    return item;
}

std::size_t QtTimers::count() const {
    return loop->count();
}

} // namespace quoxelin
