#pragma once

#include "Platform/Linux/Services/Bus.h"

#include <optional>

namespace quoxelin {

/// Whether a service can be had on a bus: its name has an owner or, where that counts, the bus
/// starts it on demand. Main thread only.
class ServicePresence {
  public:
    enum class Counts { running, runningOrActivatable };

    /// `changed` is called from the event loop whenever the answer has changed, or is first known
    /// after the constructor. The bus lives longer.
    ServicePresence(Bus& bus, std::string service, Counts counts, std::function<void()> changed);

    /// False also while it is not known yet.
    bool isPresent() const { return present.value_or(false); }
    bool isKnown() const { return present.has_value(); }

    /// Hands over the answer as soon as it is known, perhaps at once.
    void whenKnown(std::function<void(bool isPresent)> completion);

  private:
    void follow();
    void ask();
    void askForActivatable();
    void know(bool value);

    Bus& bus;
    const std::string service;
    const Counts counts;
    std::function<void()> changed;
    std::optional<bool> present;
    std::vector<std::function<void(bool)>> waiting;
    Subscription question;
    Subscription ownerObservation;
    Subscription listObservation;
    Subscription busObservation;
};

} // namespace quoxelin
