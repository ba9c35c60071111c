#pragma once

#include "Platform/NSWorkspace.h"

#include <memory>

namespace quoxelin {

/// Create it before launching finishes: a get-URL event may be what started the application.
class MacAppleEventManager final : public NSAppleEventManager {
  public:
    MacAppleEventManager();
    ~MacAppleEventManager() override;

    void
    setEventHandler(const std::string& eventClass, const std::string& eventID,
                    std::function<void(std::optional<std::string> directObject)> handler) override;

    /// Simulates an event from another program.
    void send(std::optional<std::string> directObject);

  private:
    struct Receiver;
    std::shared_ptr<Receiver> receiver;
};

} // namespace quoxelin
