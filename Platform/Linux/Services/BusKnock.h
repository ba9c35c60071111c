#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace quoxelin {

/// One attempt to get an answer out of a message bus, on a thread of its own, for as long as it
/// takes: to connect for good holds up whoever does it while the bus hangs.
class BusKnock {
  public:
    /// In D-Bus's own notation. `answered` is called from the other thread, if ever.
    BusKnock(std::string address, std::function<void()> answered);
    /// Gives up.
    ~BusKnock();
    BusKnock(const BusKnock&) = delete;
    BusKnock& operator=(const BusKnock&) = delete;

    /// The bus has let this program in, with an own connection that is closed again.
    bool isAnswered() const;

    /// Returns as soon as it is clear whether it does, or then.
    bool isAnsweredWithin(std::chrono::milliseconds longest) const;

  private:
    enum class Phase { waiting, answered, failed };

    Phase knock(const std::string& address) const;

    /// GLib's own kind of object.
    const std::shared_ptr<void> cancellable;
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    Phase phase = Phase::waiting;
    std::thread thread;
};

} // namespace quoxelin
