#include "Platform/Linux/Services/PackageKitTransaction.h"

#include <utility>

namespace quoxelin {

namespace {

constexpr const char* transactionInterface = "org.freedesktop.PackageKit.Transaction";

/// PackageKit's exit codes.
constexpr std::uint32_t exitSuccess = 1;
constexpr std::uint32_t exitCanceled = 3;
constexpr std::uint32_t exitCanceledByPriority = 9;

} // namespace

PackageKitTransaction::PackageKitTransaction(Bus& bus, const char* method, Bus::Writer arguments,
                                             std::function<void(const Outcome&)> ended)
    : bus(bus), method(method), arguments(std::move(arguments)), ended(std::move(ended)) {
    serviceObservation = bus.match("type='signal',sender='org.freedesktop.DBus',"
                                   "member='NameOwnerChanged',arg2='',arg0='" +
                                       std::string(service) + "'",
                                   [this](auto* signal) {
                                       if (isFromTheBus(signal))
                                           serviceEnded();
                                   });
    question = bus.call({service, "/org/freedesktop/PackageKit", service, "CreateTransaction"},
                        nullptr, [this](const auto& reply) {
                            const char* created = nullptr;
                            if (reply && sd_bus_message_read(*reply, "o", &created) > 0) {
                                path = created;
                                owner = senderOf(*reply);
                                return follow();
                            }
                            if (!reply)
                                error = reply.error().text;
                            end(Outcome::Kind::failed);
                        });
}

void PackageKitTransaction::follow() {
    if (isCanceled)
        return end(Outcome::Kind::canceled);
    signals = bus.match("type='signal',sender='" + std::string(service) + "',path='" + path +
                            "',interface='" + transactionInterface + "'",
                        [this](auto* signal) {
                            if (senderOf(signal) == owner)
                                receive(signal);
                        });
    call(
        "SetHints",
        [](auto* message) { return sd_bus_message_append(message, "as", 1, "interactive=true"); },
        [this] { call(method, arguments, [] {}); });
}

/// The task's reply may wait for the user; its outcome arrives as signals.
void PackageKitTransaction::call(const char* name, const Bus::Writer& write,
                                 std::function<void()> succeeded) {
    question = bus.call(
        {service, path.c_str(), transactionInterface, name}, write,
        [this, succeeded = std::move(succeeded)](const auto& reply) {
            if (reply)
                return succeeded();
            error = reply.error().text;
            end(Outcome::Kind::failed);
        },
        Bus::noDeadline);
}

void PackageKitTransaction::cancel() {
    isCanceled = true;
    if (!path.empty())
        bus.call({service, path.c_str(), transactionInterface, "Cancel"}, nullptr, nullptr)
            .cancel();
}

void PackageKitTransaction::serviceEnded() {
    error = "The package service has ended.";
    end(Outcome::Kind::failed);
}

void PackageKitTransaction::receive(sd_bus_message* signal) {
    const auto is = [signal](const char* name) {
        return sd_bus_message_is_signal(signal, transactionInterface, name) > 0;
    };
    std::uint32_t code = 0;
    const char* text = nullptr;
    if (is("Package") && sd_bus_message_read(signal, "us", &code, &text) > 0)
        packages.emplace_back(text);
    else if (is("ErrorCode") && sd_bus_message_read(signal, "us", &code, &text) > 0)
        error = text;
    else if (is("Finished") && sd_bus_message_read(signal, "u", &code) > 0)
        receiveEnd(code);
}

void PackageKitTransaction::receiveEnd(std::uint32_t exit) {
    if (exit == exitSuccess)
        end(Outcome::Kind::succeeded);
    else if (exit == exitCanceled || exit == exitCanceledByPriority)
        end(Outcome::Kind::canceled);
    else
        end(Outcome::Kind::failed);
}

/// Must come last because it may destroy this object.
void PackageKitTransaction::end(Outcome::Kind kind) {
    if (const auto once = std::exchange(ended, nullptr))
        once({kind, packages, error.empty() ? "The package service gave no reason." : error});
}

} // namespace quoxelin
