#pragma once

#include "Platform/Linux/Services/PackageKitTransaction.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/Linux/Services/UpdateWindow.h"
#include "Platform/Updater.h"

#include <memory>

namespace quoxelin {

/// Updates of the package that this program came in, through PackageKit. A check can be made while
/// that service is there or can be started, one at a time, and shows a window of its own from its
/// beginning to its outcome. Main thread only.
class PackageKitUpdates final : public Updates {
  public:
    /// The system's bus, which lives longer.
    explicit PackageKitUpdates(Bus& bus);

    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override;

  private:
    class Controller;

    bool canCheck() const { return started && packageKit.isPresent() && !transaction; }
    void presenceChanged();
    void changed();
    void check();
    void lookForUpdate();
    void install(const std::string& packageId);
    using Outcome = PackageKitTransaction::Outcome;
    void run(const char* method, const Bus::Writer& arguments,
             std::function<void(const Outcome&)> succeeded);
    void endTask();
    void showProgress(const QString& text);
    void showOutcome(const Outcome& listed);

    Bus& bus;
    ServicePresence packageKit;
    bool started = false;
    bool lastTold = false;
    ObserverList<bool> observers;
    std::unique_ptr<PackageKitTransaction> transaction;
    std::unique_ptr<UpdateWindow> window;
};

} // namespace quoxelin
