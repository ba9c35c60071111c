#include "Platform/Linux/Services/MissingServices.h"

#include "Platform/Linux/QtStatusBar.h"

namespace quoxelin {

using Counts = ServicePresence::Counts;

MissingServices::MissingServices(MessageBus& session, MessageBus& system, QtStatusBar& statusBar,
                                 std::function<void(const std::string&)> tell)
    : statusBar(statusBar),
      tell(std::move(tell)), sessionBus{"The session bus", "a second start is not noticed"},
      systemBus{"The system bus", "nothing can be asked of the system's services"},
      tray{"The tray", "the icon waits for it; starting the application again opens the panel"} {
    sessionObservation = session.observe([this, &session] { follow(session, sessionBus); });
    systemObservation = system.observe([this, &system] { follow(system, systemBus); });
    statusBar.setAppeared([this] { see(tray, true); });
    QMetaObject::invokeMethod(
        this,
        [this, &session, &system] {
            follow(session, sessionBus);
            follow(system, systemBus);
            see(tray, QtStatusBar::hasTray());
        },
        Qt::QueuedConnection);
    watch(session, "org.freedesktop.Notifications", Counts::runningOrActivatable,
          {"The notification server", "notifications are dropped"});
    watch(system, "org.freedesktop.NetworkManager", Counts::running,
          {"NetworkManager", "there can be no tunnel"});
    watch(system, "org.freedesktop.PolicyKit1", Counts::runningOrActivatable,
          {"polkit", "nobody can be asked for an authorization"});
    watch(system, "org.freedesktop.PackageKit", Counts::runningOrActivatable,
          {"PackageKit", "there is no looking for updates"});
}

MissingServices::~MissingServices() {
    statusBar.setAppeared(nullptr);
}

void MissingServices::watch(MessageBus& bus, const char* busName, Counts counts, Service service) {
    auto& one = watched.emplace_back();
    one.service = std::move(service);
    one.presence.emplace(bus, busName, counts,
                         [this, &one] { see(one.service, one.presence->isPresent()); });
}

void MissingServices::follow(MessageBus& bus, Service& service) {
    see(service, bus.isConnected());
}

void MissingServices::see(Service& service, bool isPresent) {
    if (service.isPresent == isPresent)
        return;
    service.isPresent = isPresent;
    tell(isPresent ? service.name + " is available"
                   : service.name + " is not available: " + service.loss);
}

} // namespace quoxelin
