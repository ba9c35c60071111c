#include "Platform/Linux/Services/MissingServices.h"

#include "Platform/Linux/QtStatusBar.h"

namespace quoxelin {

using Counts = ServicePresence::Counts;

MissingServices::MissingServices(Bus& session, Bus& system, QtStatusBar& statusBar,
                                 std::function<void(const std::string&)> tell)
    : session(session), system(system), statusBar(statusBar),
      tell(std::move(tell)), sessionBus{"The session bus", "a second start is not noticed"},
      systemBus{"The system bus", "nothing can be asked of the system's services"},
      tray{"The tray", "the icon waits for it; starting the application again opens the panel"} {
    QMetaObject::invokeMethod(
        this, [this] { begin(); }, Qt::QueuedConnection);
}

void MissingServices::begin() {
    const auto follow = [this](Bus& bus, Service& service) {
        see(service, bus.isConnected());
        return bus.observe([this, &bus, &service] { see(service, bus.isConnected()); });
    };
    sessionObservation = follow(session, sessionBus);
    systemObservation = follow(system, systemBus);
    see(tray, statusBar.hasTray());
    trayObservation = statusBar.observeTray([this] { see(tray, statusBar.hasTray()); });
    watch(session, "org.freedesktop.Notifications", Counts::runningOrActivatable,
          {"The notification server", "notifications are dropped"});
    watch(system, "org.freedesktop.NetworkManager", Counts::running,
          {"NetworkManager", "there can be no tunnel"});
    watch(system, "org.freedesktop.PolicyKit1", Counts::runningOrActivatable,
          {"polkit", "no authorization can be granted"});
    watch(system, "org.freedesktop.PackageKit", Counts::runningOrActivatable,
          {"PackageKit", "updates cannot be checked"});
}

void MissingServices::watch(Bus& bus, const char* busName, Counts counts, Service service) {
    auto& one = watched.emplace_back();
    one.service = std::move(service);
    const auto seeNow = [this, &one] { see(one.service, one.presence->isPresent()); };
    one.presence.emplace(bus, busName, counts, seeNow);
    one.presence->whenKnown([seeNow](bool) { seeNow(); });
}

void MissingServices::see(Service& service, bool isPresent) {
    if (service.isPresent == isPresent)
        return;
    service.isPresent = isPresent;
    tell(isPresent ? service.name + " is available"
                   : service.name + " is not available: " + service.loss);
}

} // namespace quoxelin
