#pragma once

#include "Platform/Linux/Services/PackageKitTransaction.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/Linux/Services/UpdateWindow.h"
#include "Platform/Updater.h"

#include <memory>

namespace quoxelin {

/// Updates this program's package through PackageKit. Checks are possible, one at a time, while
/// PackageKit runs or can be started. A window shows each check from start to outcome. Main thread
/// only.
class PackageKitUpdates final : public Updates {
  public:
    /// The system bus must outlive this object.
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
