#pragma once

#include "Base/Lifetime.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/ServiceManagement.h"

namespace quoxelin {

/// The helper as a service of the system bus. Its installation registers it: registering only finds
/// out whether that is so, and unregistering fails. It is not found where the bus or the service is
/// missing, and requires approval where polkit does not allow this process to use it without asking
/// for a password. Main thread only.
class DBusHelperService final : public SMAppService {
  public:
    /// Both live longer. An unknown service is never found.
    DBusHelperService(Bus& bus, ServicePresence& presence, bool isKnown = true)
        : bus(bus), presence(presence), isKnown(isKnown) {}

    void registerService(Completion<void, Error> completion) override;
    Result<void, Error> unregisterService() override;
    void status(std::function<void(int)> completion) override;

  private:
    void askPolkit(std::function<void(int)> completion);

    Bus& bus;
    ServicePresence& presence;
    const bool isKnown;
    Subscription question;
    Lifetime lifetime;
};

} // namespace quoxelin
