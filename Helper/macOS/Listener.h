#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quoxelin::helper {

struct ListenerState;

/// The Mach service of the helper.
inline constexpr const char* machServiceName = "com.quoxelin.desktop.Helper";
inline constexpr const char* applicationIdentifier = "com.quoxelin.desktop";

/// The helper on XPC. It listens from construction to destruction; programs that run go on without
/// it. On the main thread; `write` is called there, too, and gets the lines for the system's log.
///
/// Only programs of the application's identifier that `team` signed are let in, and only the two
/// programs of the bundle are run, once their processes prove to be signed by `team` as well. A
/// refused request ends its connection: the protocol has no reply for it.
class Listener {
  public:
    Listener(std::string bundleRoot, std::string team,
             std::function<void(const std::string&)> write);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

  private:
    std::shared_ptr<ListenerState> state;
};

} // namespace quoxelin::helper
