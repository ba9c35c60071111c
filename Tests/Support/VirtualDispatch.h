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

/// Threads and time under the test's control. Nothing runs until the test says so; then work runs
/// one piece at a time, in the order of its submission, and always with the same outcome.
///
/// The test's thread is the main thread. Background work gets a thread of its own, but only one
/// thread runs at any moment: work that blocks (in `sleep` or `waitUntil`) hands over, and goes on
/// when what it waits for has come. So code that blocks for ever in production can be watched
/// blocking here, at exact instants.
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

    /// Time since the test began.
    Duration now() const { return clock; }

    /// Runs all that can run at this instant.
    void runUntilIdle();

    /// Lets time pass: every piece of delayed work runs at its own instant, the last ones at the
    /// end of the span.
    void advance(Duration span);

    /// The instant of the next delayed work or end of a sleep; absent when nothing waits for time.
    std::optional<Duration> nextInstant() const;

    /// For simulated transports: blocks the calling background work until `ready` holds.
    void waitUntil(std::function<bool()> ready);

    /// Background work that has not ended: running, blocked or still to run.
    std::size_t unfinishedBackgroundWork() const { return unfinished; }

    /// Global work by the quality it was submitted with, in the order of submission.
    const std::vector<QualityOfService>& submittedQualities() const { return qualities; }

    /// The labels of the serial queues, in the order of their making.
    const std::vector<std::string>& serialLabels() const { return labels; }

    /// Ends all blocked work by unwinding its stack, and drops what has not run yet. Called by the
    /// destructor; a test calls it where what the work uses must go before this object.
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
    Fiber* running = nullptr; // null: the test's thread
    bool unwinding = false;
    std::vector<std::unique_ptr<Fiber>> fibers;
    std::vector<Fiber*> idleFibers;
};

} // namespace quoxelin::testing
