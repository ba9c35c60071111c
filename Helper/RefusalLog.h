#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <sys/types.h>

namespace quoxelin::helper {

/// Logs refusals, with a limit for each user: a flood of calls must neither fill the disk nor hide
/// another user's attempts. One thread.
class RefusalLog {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr int mostInAMinute = 20;

    RefusalLog(std::function<void(const std::string&)> write,
               std::function<Clock::time_point()> now)
        : write(std::move(write)), now(std::move(now)) {}

    /// Writes at most 20 lines per user and minute, and counts the others.
    template <typename MakeLine>
    void operator()(uid_t user, MakeLine line) {
        auto& own = currentMinuteOf(user);
        if (own.written == mostInAMinute) {
            ++own.omitted;
            return;
        }
        ++own.written;
        write(line());
    }

    /// Counts refusals without a line.
    void count(uid_t user, unsigned long refusals) { currentMinuteOf(user).omitted += refusals; }

    /// Writes the counts of the minutes that are over. Returns whether others are not over yet.
    bool writeCounts() {
        forget([this](const Minute& minute) { return isOver(minute); });
        return !minutes.empty();
    }

    /// Writes all counts. Call it at the end.
    void finish() {
        forget([](const Minute&) { return true; });
    }

  private:
    struct Minute {
        Clock::time_point began;
        int written = 0;
        unsigned long omitted = 0;
    };

    bool isOver(const Minute& minute) const {
        return now() - minute.began >= std::chrono::minutes(1);
    }

    Minute& currentMinuteOf(uid_t user) {
        writeCounts();
        return minutes.try_emplace(user, Minute{now()}).first->second;
    }

    template <typename Condition>
    void forget(Condition condition) {
        std::erase_if(minutes, [&](const auto& entry) {
            const auto& [user, minute] = entry;
            const bool goes = condition(minute);
            if (goes && minute.omitted > 0)
                write("refused user " + std::to_string(user) + " " +
                      std::to_string(minute.omitted) + " more times");
            return goes;
        });
    }

    std::function<void(const std::string&)> write;
    std::function<Clock::time_point()> now;
    std::map<uid_t, Minute> minutes;
};

} // namespace quoxelin::helper
