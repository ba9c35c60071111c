#include "Platform/Linux/Services/ServicePresence.h"

#include <algorithm>
#include <utility>

namespace quoxelin {

namespace {

/// The bus itself answers in milliseconds. A bus that hangs offers no services.
constexpr std::chrono::seconds busDeadline{1};

const std::string fromTheBus = "type='signal',sender='org.freedesktop.DBus',member=";

} // namespace

ServicePresence::ServicePresence(Bus& bus, std::string service, Counts counts,
                                 std::function<void()> changed)
    : bus(bus), service(std::move(service)), counts(counts), changed(std::move(changed)) {
    busObservation = bus.observe([this] { follow(); });
    if (bus.isConnected())
        follow();
    else
        present = false;
}

void ServicePresence::whenKnown(std::function<void(bool)> completion) {
    if (present)
        completion(*present);
    else
        waiting.push_back(std::move(completion));
}

void ServicePresence::follow() {
    if (!bus.isConnected()) {
        question.cancel();
        return know(false);
    }
    present.reset();
    const auto askAgain = [this](sd_bus_message*) { ask(); };
    ownerObservation =
        bus.match(fromTheBus + "'NameOwnerChanged',arg0='" + service + "'", askAgain);
    listObservation = bus.match(fromTheBus + "'ActivatableServicesChanged'", askAgain);
    ask();
}

void ServicePresence::ask() {
    question = bus.call(
        busMethod("NameHasOwner"),
        [this](auto* message) { return sd_bus_message_append(message, "s", service.c_str()); },
        [this](const auto& reply) {
            int isOwned = 0;
            if (reply)
                sd_bus_message_read(*reply, "b", &isOwned);
            if (isOwned != 0 || counts == Counts::running)
                know(isOwned != 0);
            else
                askForActivatable();
        },
        busDeadline);
}

void ServicePresence::askForActivatable() {
    question = bus.call(
        busMethod("ListActivatableNames"), nullptr,
        [this](const auto& reply) {
            const auto names = reply ? readTexts(*reply) : std::vector<std::string>();
            know(std::find(names.begin(), names.end(), service) != names.end());
        },
        busDeadline);
}

void ServicePresence::know(bool value) {
    if (present == value)
        return;
    present = value;
    for (const auto& completion : std::exchange(waiting, {}))
        completion(value);
    if (changed)
        changed();
}

} // namespace quoxelin
