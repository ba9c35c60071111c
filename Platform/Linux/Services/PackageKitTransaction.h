#pragma once

#include "Platform/Linux/Services/Bus.h"

namespace quoxelin {

/// One task of the package service: a method of a transaction of its own, followed to its end. To
/// destroy it is to hear no more of it. Main thread only.
class PackageKitTransaction {
  public:
    static constexpr const char* service = "org.freedesktop.PackageKit";

    struct Outcome {
        enum class Kind { succeeded, cancelled, failed };
        Kind kind;
        /// The packages it was about: "name;version;architecture;data".
        std::vector<std::string> packages;
        /// Why it failed.
        std::string error;
    };

    /// Begins at once. `ended` is called once, later, and may destroy the transaction. The service
    /// asks polkit, and polkit the user, where the task needs it.
    PackageKitTransaction(Bus& bus, const char* method, Bus::Writer arguments,
                          std::function<void(const Outcome&)> ended);

    /// Asks for its end, which is told as always.
    void cancel();

    /// The service is there no longer, perhaps because its bus is not. What it was asked for fails.
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
    bool isCancelled = false;
    std::vector<std::string> packages;
    std::string error;
};

} // namespace quoxelin
