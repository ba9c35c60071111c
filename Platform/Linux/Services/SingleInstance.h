#pragma once

#include "Platform/Linux/Services/Bus.h"

#include <optional>

namespace quoxelin {

/// The application as one of the session: the first to start owns the name on the session's bus,
/// and later ones hand over what they were started for. The desktop's launchers call it, too. Main
/// thread only.
class SingleInstance {
  public:
    struct Requests {
        /// Open these URLs.
        std::function<void(const std::vector<std::string>& urls)> open;
        /// Come to the front.
        std::function<void()> activate;
    };

    /// The session's bus, which lives longer. Without a bus that answers, later starts are not
    /// noticed until there is one.
    SingleInstance(Bus& bus, Requests requests);

    enum class Role { first, follower };

    /// Claims the name, before the event loop runs. A follower has handed over the URL, or asked
    /// the first to come to the front when there is none, before this returns. An error is a text
    /// for people: the first did not answer within `patience`.
    Result<Role, std::string> claim(const std::optional<std::string>& url,
                                    std::chrono::milliseconds patience);

  private:
    static const sd_bus_vtable table[];

    void own();
    std::optional<BusError> handOver(const std::optional<std::string>& url,
                                     std::chrono::milliseconds patience);

    Bus& bus;
    Requests requests;
    Subscription object;
    Subscription ownership;
    /// Whether the name is ours; absent while the bus has not said so.
    std::optional<bool> isOwner;
    Subscription busObservation;
};

} // namespace quoxelin
