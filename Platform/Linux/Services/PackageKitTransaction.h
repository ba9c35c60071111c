#pragma once

#include "Platform/Linux/Services/Bus.h"

namespace quoxelin {

/// One task of the package service, a transaction with one method, followed until it ends. Once
/// destroyed it calls nothing more. Main thread only.
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

    /// Asks the service to stop; `ended` is called when it has.
    void cancel();

    /// The service, or its bus, has gone: the task fails.
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
