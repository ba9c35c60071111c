#include "Tests/Support/VirtualDispatch.h"

#include <algorithm>
#include <stdexcept>

namespace quoxelin::testing {

struct VirtualDispatch::Fiber {
    std::condition_variable turn;
    Work work;
    bool quit = false;
    std::thread thread;
};

struct VirtualDispatch::SerialState {
    std::deque<Work> pending;
    bool draining = false;
};

class VirtualDispatch::Main final : public MainQueue {
  public:
    explicit Main(VirtualDispatch& owner) : owner(owner) {}

    void async(Work work) override { owner.jobs.push_back({true, std::move(work)}); }

    WorkItem asyncAfter(Duration delay, Work work) override {
        WorkItem item(std::move(work));
        owner.timers.emplace(std::pair(owner.clock + delay, owner.nextSequence++), item);
        return item;
    }

  private:
    VirtualDispatch& owner;
};

class VirtualDispatch::Global final : public Queue {
  public:
    Global(VirtualDispatch& owner, QualityOfService quality) : owner(owner), quality(quality) {}

    void async(Work work) override {
        owner.qualities.push_back(quality);
        owner.submitBackground(std::move(work));
    }

  private:
    VirtualDispatch& owner;
    QualityOfService quality;
};

class VirtualDispatch::Serial final : public SerialQueue {
  public:
    explicit Serial(VirtualDispatch& owner) : owner(owner) {}

    void async(Work work) override {
        state->pending.push_back(std::move(work));
        if (state->draining)
            return;
        state->draining = true;
        owner.submitBackground([&owner = owner, state = state] { owner.drain(state); });
    }

    bool wait(Duration longest) override {
        const auto end = owner.clock + longest;
        const auto done = std::make_shared<bool>(false);
        async([done] { *done = true; });
        while (!*done) {
            if (!owner.jobs.empty()) {
                owner.runOne();
            } else if (!owner.resumeAParkedFiber()) {
                const bool isOver = owner.wakeUps.empty() || *owner.wakeUps.begin() > end;
                owner.clock = isOver ? end : *owner.wakeUps.begin();
                if (isOver)
                    return false;
            }
        }
        return true;
    }

  private:
    VirtualDispatch& owner;
    std::shared_ptr<SerialState> state = std::make_shared<SerialState>();
};

VirtualDispatch::VirtualDispatch()
    : mainQueue(std::make_unique<Main>(*this)),
      userInteractive(std::make_unique<Global>(*this, QualityOfService::userInteractive)),
      userInitiated(std::make_unique<Global>(*this, QualityOfService::userInitiated)),
      standard(std::make_unique<Global>(*this, QualityOfService::standard)),
      utility(std::make_unique<Global>(*this, QualityOfService::utility)),
      background(std::make_unique<Global>(*this, QualityOfService::background)) {}

VirtualDispatch::~VirtualDispatch() {
    endAllWork();
}

MainQueue& VirtualDispatch::main() {
    return *mainQueue;
}

Queue& VirtualDispatch::global(QualityOfService quality) {
    switch (quality) {
    case QualityOfService::userInteractive:
        return *userInteractive;
    case QualityOfService::userInitiated:
        return *userInitiated;
    case QualityOfService::standard:
        return *standard;
    case QualityOfService::utility:
        return *utility;
    case QualityOfService::background:
        return *background;
    }
    throw std::logic_error("no such quality of service");
}

std::unique_ptr<SerialQueue> VirtualDispatch::makeSerial(std::string label) {
    labels.push_back(std::move(label));
    return std::make_unique<Serial>(*this);
}

bool VirtualDispatch::isMainThread() const {
    return std::this_thread::get_id() == testThread;
}

void VirtualDispatch::sleep(Duration duration) {
    const auto end = clock + duration;
    const auto wakeUp = wakeUps.insert(end);
    struct Awake {
        std::multiset<Duration>& wakeUps;
        std::multiset<Duration>::iterator wakeUp;
        ~Awake() { wakeUps.erase(wakeUp); }
    } awake{wakeUps, wakeUp};
    waitUntil([this, end] { return clock >= end; });
}

std::chrono::system_clock::time_point VirtualDispatch::date() const {
    constexpr std::chrono::milliseconds begin(1714568523417); // 2024-05-01 13:02:03.417 UTC
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(begin + clock));
}

void VirtualDispatch::submitBackground(Work work) {
    ++unfinished;
    jobs.push_back({false, std::move(work)});
}

void VirtualDispatch::drain(const std::shared_ptr<SerialState>& serial) {
    while (!serial->pending.empty()) {
        const auto work = std::move(serial->pending.front());
        serial->pending.pop_front();
        work();
    }
    serial->draining = false;
}

void VirtualDispatch::runOne() {
    auto job = std::move(jobs.front());
    jobs.pop_front();
    if (job.onMain) {
        job.work();
        return;
    }
    if (idleFibers.empty()) {
        fibers.push_back(std::make_unique<Fiber>());
        auto& fiber = *fibers.back();
        fiber.thread = std::thread([this, &fiber] { fiberMain(fiber); });
        idleFibers.push_back(&fiber);
    }
    auto& fiber = *idleFibers.back();
    idleFibers.pop_back();
    fiber.work = std::move(job.work);
    resume(fiber);
}

void VirtualDispatch::resume(Fiber& fiber) {
    std::unique_lock lock(baton);
    running = &fiber;
    fiber.turn.notify_one();
    // The test's thread waits on the fiber's own condition, which is signaled again when the fiber
    // hands control back.
    fiber.turn.wait(lock, [&] { return running == nullptr; });
}

void VirtualDispatch::handBackAndWait(Fiber& fiber) {
    std::unique_lock lock(baton);
    running = nullptr;
    fiber.turn.notify_one();
    fiber.turn.wait(lock, [&] { return running == &fiber; });
}

void VirtualDispatch::fiberMain(Fiber& fiber) {
    {
        std::unique_lock lock(baton);
        fiber.turn.wait(lock, [&] { return running == &fiber; });
    }
    while (!fiber.quit) {
        try {
            fiber.work();
        } catch (const Unwinding&) {
        }
        fiber.work = nullptr;
        --unfinished;
        idleFibers.push_back(&fiber);
        handBackAndWait(fiber);
    }
    const std::lock_guard lock(baton);
    running = nullptr;
    fiber.turn.notify_one();
}

void VirtualDispatch::waitUntil(std::function<bool()> ready) {
    if (isMainThread())
        throw std::logic_error("the main thread must never block");
    if (ready())
        return;
    auto& fiber = *running;
    parked.push_back({&fiber, std::move(ready)});
    handBackAndWait(fiber);
    if (unwinding)
        throw Unwinding{};
}

bool VirtualDispatch::resumeAParkedFiber() {
    const auto found =
        std::find_if(parked.begin(), parked.end(), [](const auto& one) { return one.ready(); });
    if (found == parked.end())
        return false;
    auto& fiber = *found->fiber;
    parked.erase(found);
    resume(fiber);
    return true;
}

void VirtualDispatch::runUntilIdle() {
    do {
        while (!jobs.empty())
            runOne();
    } while (resumeAParkedFiber());
}

std::optional<Duration> VirtualDispatch::nextInstant() const {
    std::optional<Duration> next;
    for (const auto& [when, item] : timers) {
        if (item.isPending()) {
            next = when.first;
            break;
        }
    }
    if (!wakeUps.empty())
        next = next ? std::min(*next, *wakeUps.begin()) : *wakeUps.begin();
    return next;
}

void VirtualDispatch::advance(Duration span) {
    const auto end = clock + span;
    for (;;) {
        runUntilIdle();
        const auto next = nextInstant();
        if (!next || *next > end)
            break;
        clock = std::max(clock, *next);
        while (!timers.empty() && timers.begin()->first.first <= clock) {
            auto item = timers.begin()->second;
            timers.erase(timers.begin());
            mainQueue->async([item]() mutable { item.perform(); });
        }
    }
    clock = end;
}

void VirtualDispatch::endAllWork() {
    unwinding = true;
    jobs.clear();
    timers.clear();
    while (!parked.empty()) {
        auto& fiber = *parked.front().fiber;
        parked.pop_front();
        resume(fiber);
    }
    jobs.clear();
    for (const auto& fiber : fibers) {
        fiber->quit = true;
        resume(*fiber);
        fiber->thread.join();
    }
    fibers.clear();
    idleFibers.clear();
    unfinished = 0;
    unwinding = false;
}

} // namespace quoxelin::testing
