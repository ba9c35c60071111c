#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace quoxelin::helper {

/// Writes what was refused to the log, and not more than somebody can read: a flood of calls must
/// not fill the disk. One thread.
class RefusalLog {
  public:
    using Clock = std::chrono::steady_clock;

    RefusalLog(std::function<void(const std::string&)> write,
               std::function<Clock::time_point()> now)
        : write(std::move(write)), now(std::move(now)) {}

    /// At most 20 lines a minute; the next one after that says how many there were in between.
    void operator()(const std::string& line) {
        const auto time = now();
        if (written == 0 || time - began >= std::chrono::minutes(1)) {
            if (omitted > 0)
                write("refused " + std::to_string(omitted) + " more");
            began = time;
            written = 0;
            omitted = 0;
        }
        if (written == mostInAMinute) {
            ++omitted;
            return;
        }
        ++written;
        write(line);
    }

  private:
    static constexpr int mostInAMinute = 20;

    std::function<void(const std::string&)> write;
    std::function<Clock::time_point()> now;
    Clock::time_point began;
    int written = 0;
    unsigned long omitted = 0;
};

} // namespace quoxelin::helper
