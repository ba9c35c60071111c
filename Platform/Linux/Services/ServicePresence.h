#pragma once

#include "Platform/Linux/Services/Bus.h"

#include <optional>

namespace quoxelin {

/// Whether a bus offers a service: its name has an owner or, if that counts, the bus can start it
/// on demand. Main thread only.
class ServicePresence {
  public:
    enum class Counts { running, runningOrActivatable };

    /// `changed` is called from the event loop whenever the answer changes, or is first known after
    /// construction. The bus must outlive this object.
    ServicePresence(Bus& bus, std::string service, Counts counts, std::function<void()> changed);

    /// Also false while the answer is unknown.
    bool isPresent() const { return present.value_or(false); }
    bool isKnown() const { return present.has_value(); }

    /// Passes on the answer once it is known, perhaps before returning.
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
