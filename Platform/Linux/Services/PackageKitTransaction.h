#pragma once

#include "Platform/Linux/Services/Bus.h"

namespace quoxelin {

/// One task of PackageKit: a transaction with one method call, followed until it ends. A destroyed
/// transaction does not call back. Main thread only.
class PackageKitTransaction {
  public:
    static constexpr const char* service = "org.freedesktop.PackageKit";

    struct Outcome {
        enum class Kind { succeeded, canceled, failed };
        Kind kind;
        /// The packages found: "name;version;architecture;data".
        std::vector<std::string> packages;
        /// Why the task failed.
        std::string error;
    };

    /// Starts at once. `ended` is called once, later, and may destroy the transaction. PackageKit
    /// asks polkit if the task needs authorization, and polkit may ask the user.
    PackageKitTransaction(Bus& bus, const char* method, Bus::Writer arguments,
                          std::function<void(const Outcome&)> ended);

    /// Asks PackageKit to stop; `ended` is called when it has.
    void cancel();

    /// Call when PackageKit or its bus is gone: the task fails.
    void serviceEnded();

  private:
    void follow();
    void call(const char* name, const Bus::Writer& write, std::function<void()> succeeded);
    void receive(sd_bus_message* signal);
    void receiveEnd(std::uint32_t exit);
    void end(Outcome::Kind kind);

    Bus& bus;
    const char* const method;
    const Bus::Writer arguments;
    std::function<void(const Outcome&)> ended;
    Subscription question;
    Subscription signals;
    Subscription serviceObservation;
    std::string path;
    /// PackageKit's unique name on the bus, because other programs can send signals, too.
    std::string owner;
    bool isCanceled = false;
    std::vector<std::string> packages;
    std::string error;
};

} // namespace quoxelin
