#pragma once

#include "Platform/NSWorkspace.h"

#include <map>
#include <utility>
#include <vector>

namespace quoxelin {

/// Brings the events of other programs. Main thread only.
class SimulatedAppleEventManager final : public NSAppleEventManager {
  public:
    using Handler = std::function<void(std::optional<std::string>)>;

    void setEventHandler(const std::string& eventClass, const std::string& eventID,
                         Handler handler) override;

    /// A program sends the event: the handler is called before this returns, or, while there is
    /// none, as soon as there is one.
    void send(const std::string& eventClass, const std::string& eventID,
              std::optional<std::string> directObject);

    /// A program, a browser for one, hands over the URL.
    void sendGetURL(std::optional<std::string> url) {
        send(kInternetEventClass, kAEGetURL, std::move(url));
    }

    bool hasHandler(const std::string& eventClass, const std::string& eventID) const {
        return handlers.count({eventClass, eventID}) != 0;
    }

  private:
    using Key = std::pair<std::string, std::string>;
    std::map<Key, Handler> handlers;
    std::map<Key, std::vector<std::optional<std::string>>> early;
};

} // namespace quoxelin
