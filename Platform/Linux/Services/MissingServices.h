#pragma once

#include "Platform/Linux/Services/ServicePresence.h"

#include <functional>
#include <list>
#include <string>

namespace quoxelin {

class QtStatusBar;

/// Says which of the services that the application uses the machine does without, and when one has
/// come or gone. Main thread only.
class MissingServices final : public QObject {
  public:
    /// `tell` receives a line for the log, from the event loop. All live longer.
    MissingServices(Bus& session, Bus& system, QtStatusBar& statusBar,
                    std::function<void(const std::string& line)> tell);

  private:
    struct Service {
        std::string name;
        /// What does not work without it.
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
    /// In places of their own, which the presences refer to.
    std::list<Watched> watched;
    Subscription sessionObservation;
    Subscription systemObservation;
    Subscription trayObservation;
};

} // namespace quoxelin
