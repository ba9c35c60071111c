#pragma once

#include "Base/Dispatch.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace quoxelin::testing {

/// Threads and time controlled by the test. Work runs only when the test says so, one piece at a
/// time, in order of submission, and always with the same outcome.
///
/// The test's thread is the main thread. Background work runs on separate threads, but only one
/// thread runs at a time: work that blocks (in `sleep` or `waitUntil`) hands control over and
/// continues when its condition holds. Code that blocks forever in production can be observed here
/// at exact times.
class VirtualDispatch final : public Dispatch {
  public:
    VirtualDispatch();
    ~VirtualDispatch() override;

    MainQueue& main() override;
    Queue& global(QualityOfService quality) override;
    std::unique_ptr<SerialQueue> makeSerial(std::string label) override;
    bool isMainThread() const override;
    void sleep(Duration duration) override;
    std::chrono::system_clock::time_point date() const override;

    /// The time since the start of the test.
    Duration now() const { return clock; }

    /// Runs everything that is due now.
    void runUntilIdle();

    /// Advances time. Each piece of delayed work runs at its due time, including the end of the
    /// span.
    void advance(Duration span);

    /// The time of the next delayed work or end of a sleep. Absent if there is none.
    std::optional<Duration> nextInstant() const;

    /// For simulated transports: blocks the calling background work until `ready` returns true.
    void waitUntil(std::function<bool()> ready);

    /// Background work that is running, blocked or not started.
    std::size_t unfinishedBackgroundWork() const { return unfinished; }

    /// The quality of each piece of global work, in order of submission.
    const std::vector<QualityOfService>& submittedQualities() const { return qualities; }

    /// The labels of the serial queues, in order of creation.
    const std::vector<std::string>& serialLabels() const { return labels; }

    /// Ends all blocked work by unwinding its stack, and drops the rest. Called by the destructor;
    /// call it earlier if the work uses objects that are destroyed first.
    void endAllWork();

  private:
    class Main;
    class Global;
    class Serial;
    struct SerialState;
    struct Fiber;
    struct Unwinding {};
    struct Parked {
        Fiber* fiber;
        std::function<bool()> ready;
    };

    void submitBackground(Work work);
    void runOne();
    void resume(Fiber& fiber);
    void fiberMain(Fiber& fiber);
    void handBackAndWait(Fiber& fiber);
    bool resumeAParkedFiber();
    void drain(const std::shared_ptr<SerialState>& serial);

    const std::thread::id testThread = std::this_thread::get_id();
    std::unique_ptr<Main> mainQueue;
    std::unique_ptr<Global> userInteractive, userInitiated, standard, utility, background;

    Duration clock{0};
    std::uint64_t nextSequence = 0;
    std::map<std::pair<Duration, std::uint64_t>, WorkItem> timers;
    std::multiset<Duration> wakeUps;
    struct Job {
        bool onMain;
        Work work;
    };
    std::deque<Job> jobs;
    std::list<Parked> parked;
    std::size_t unfinished = 0;
    std::vector<QualityOfService> qualities;
    std::vector<std::string> labels;

    std::mutex baton;
    Fiber* running = nullptr; // null for the test's thread
    bool unwinding = false;
    std::vector<std::unique_ptr<Fiber>> fibers;
    std::vector<Fiber*> idleFibers;
};

} // namespace quoxelin::testing
