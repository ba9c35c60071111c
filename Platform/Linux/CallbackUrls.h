#pragma once

#include "Base/Dispatch.h"
#include "Platform/NSWorkspace.h"

#include <vector>

namespace quoxelin {

/// Reports callback URLs, from the command line and from later starts, as get-URL events.
class CallbackUrls final : public NSAppleEventManager {
  public:
    explicit CallbackUrls(MainQueue& mainQueue) : mainQueue(mainQueue) {}

    void
    setEventHandler(const std::string& eventClass, const std::string& eventID,
                    std::function<void(std::optional<std::string> directObject)> handler) override;

    /// Sends the handler a get-URL event on a later turn of the main queue, or as soon as there is
    /// a handler. Main thread.
    void send(std::optional<std::string> url);

  private:
    void deliver();

    MainQueue& mainQueue;
    std::function<void(std::optional<std::string>)> handler;
    std::vector<std::optional<std::string>> waiting;
};

} // namespace quoxelin
