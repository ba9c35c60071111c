#pragma once

#include "Platform/NSWorkspace.h"

#include <memory>

namespace quoxelin {

/// Listens for get-URL events from its making on: one of them may have started the application.
class MacAppleEventManager final : public NSAppleEventManager {
  public:
    MacAppleEventManager();
    ~MacAppleEventManager() override;

    void
    setEventHandler(const std::string& eventClass, const std::string& eventID,
                    std::function<void(std::optional<std::string> directObject)> handler) override;

    /// As if the event had come from another program.
    void send(std::optional<std::string> directObject);

  private:
    struct Receiver;
    std::shared_ptr<Receiver> receiver;
};

} // namespace quoxelin
