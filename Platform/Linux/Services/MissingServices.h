#pragma once

#include "Platform/Linux/Services/ServicePresence.h"

#include <functional>
#include <list>
#include <string>

namespace quoxelin {

class QtStatusBar;

/// Reports which services the machine lacks, and when one appears or disappears. Main thread only.
class MissingServices final : public QObject {
  public:
    /// `tell` receives log lines from the event loop. The buses and the status bar must outlive
    /// this object.
    MissingServices(Bus& session, Bus& system, QtStatusBar& statusBar,
                    std::function<void(const std::string& line)> tell);

  private:
    struct Service {
        std::string name;
        /// What does not work without the service.
        std::string loss;
        bool isPresent = true;
    };
    struct Watched {
        Service service;
        std::optional<ServicePresence> presence;
    };

    void begin();
    void watch(Bus& bus, const char* busName, ServicePresence::Counts counts, Service service);
    void see(Service& service, bool isPresent);

    Bus& session;
    Bus& system;
    QtStatusBar& statusBar;
    std::function<void(const std::string&)> tell;
    Service sessionBus;
    Service systemBus;
    Service tray;
    /// A list, because the presences refer to its elements.
    std::list<Watched> watched;
    Subscription sessionObservation;
    Subscription systemObservation;
    Subscription trayObservation;
};

} // namespace quoxelin
