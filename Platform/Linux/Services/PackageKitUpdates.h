#pragma once

#include "Platform/CheckingUpdates.h"
#include "Platform/Linux/Services/PackageKitTransaction.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Platform/Linux/Services/UpdateWindow.h"

#include <memory>

namespace quoxelin {

/// Updates this program's package through PackageKit. Checks are possible, one at a time, while
/// PackageKit runs or can be started. A window shows each check from start to outcome. Main thread
/// only.
class PackageKitUpdates final : public CheckingUpdates {
  public:
    /// The system bus must outlive this object.
    explicit PackageKitUpdates(Bus& bus);

  private:
    void check();
    void presenceChanged();
    void lookForUpdate();
    void lookForInstallation();
    void install(const std::string& packageId);
    using Outcome = PackageKitTransaction::Outcome;
    void run(const char* method, const Bus::Writer& arguments,
             std::function<void(const Outcome&)> succeeded);
    void endTask();
    void showProgress(const QString& text);
    void showEnd(const QString& text, const QString& details = {});
    void offer(const std::string& packageId);

    Bus& bus;
    ServicePresence packageKit;
    std::unique_ptr<PackageKitTransaction> transaction;
    std::unique_ptr<UpdateWindow> window;
};

} // namespace quoxelin
