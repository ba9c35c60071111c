#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace quoxelin::helper {

struct ListenerState;

/// The Mach service of the helper.
inline constexpr const char* machServiceName = "com.quoxelin.desktop.Helper";
inline constexpr const char* applicationIdentifier = "com.quoxelin.desktop";

/// The helper on XPC. Listens until destroyed; running programs continue without it. Main thread
/// only; `write` is called there with the lines for the system's log.
///
/// Accepts only clients with the application's identifier that `team` signed, and runs only the two
/// programs of the bundle, after verifying that `team` signed their processes too. A refused
/// request ends its connection, because the protocol has no reply for it.
class Listener {
  public:
    struct Time {
        std::function<std::chrono::steady_clock::time_point()> now;
        /// Performs the work on the main thread after the delay.
        std::function<void(std::chrono::seconds delay, std::function<void()> work)> later;
    };
    static Time systemTime();

    Listener(std::string bundleRoot, std::string team,
             std::function<void(const std::string&)> write, Time time = systemTime());
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

  private:
    std::shared_ptr<ListenerState> state;
};

} // namespace quoxelin::helper
