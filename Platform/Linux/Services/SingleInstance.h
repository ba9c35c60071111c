#pragma once

#include "Platform/Linux/Services/Bus.h"

#include <optional>

namespace quoxelin {

/// Ensures one instance per session. The first one owns a name on the session bus; later ones hand
/// over their URL or activation to it. Desktop launchers call it, too. Main thread only.
class SingleInstance {
  public:
    struct Requests {
        /// Open these URLs.
        std::function<void(const std::vector<std::string>& urls)> open;
        /// Come to the front.
        std::function<void()> activate;
    };

    /// The session bus must outlive this object. Until it answers, later starts are not noticed.
    SingleInstance(Bus& bus, Requests requests);

    enum class Role { first, follower };

    /// Claims the name before the event loop runs. If another instance owns it, it has received the
    /// URL, or without a URL the request to come to the front, when this returns. An error is a
    /// readable text: the first instance did not answer within `patience`.
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
    /// Whether we own the name; absent until the bus has answered.
    std::optional<bool> isOwner;
    Subscription busObservation;
};

} // namespace quoxelin
