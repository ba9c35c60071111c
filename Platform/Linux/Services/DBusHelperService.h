#pragma once

#include "Base/Lifetime.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/ServiceManagement.h"

namespace quoxelin {

/// The helper as a service of the system bus. Its installation registers it, so registering only
/// checks that, and unregistering fails. The status is not found without the bus or the service,
/// and requires approval unless polkit lets this process use it without a password. Main thread
/// only.
class DBusHelperService final : public SMAppService {
  public:
    /// Both must outlive this object. An unknown service is never found.
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
