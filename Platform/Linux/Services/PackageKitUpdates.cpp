#include "Platform/Linux/Services/PackageKitUpdates.h"

#include <algorithm>
#include <utility>

namespace quoxelin {

namespace {

constexpr const char* packageName = "quoxelin-desktop";

// PackageKit's bit fields.
constexpr std::uint64_t noFilter = 1ULL << 1;
constexpr std::uint64_t onlyInstalled = 1ULL << 2;
constexpr std::uint64_t onlyTrusted = 1ULL << 1;

QString versionOf(const std::string& packageId) {
    return QString::fromStdString(packageId).section(';', 1, 1);
}

/// The identifier of this program's package; empty if it is not among them.
std::string ownPackage(const std::vector<std::string>& packageIds) {
    const auto found =
        std::find_if(packageIds.begin(), packageIds.end(), [](const auto& packageId) {
            return packageId.starts_with(packageName + std::string(";"));
        });
    return found == packageIds.end() ? std::string() : *found;
}

} // namespace

PackageKitUpdates::PackageKitUpdates(Bus& bus)
    : CheckingUpdates([this] { return packageKit.isPresent() && !transaction; },
                      [this] { check(); }),
      bus(bus),
      packageKit(bus, PackageKitTransaction::service, ServicePresence::Counts::runningOrActivatable,
                 [this] { presenceChanged(); }) {}

/// A transaction does not notice when the bus itself is gone.
void PackageKitUpdates::presenceChanged() {
    if (transaction && !packageKit.isPresent())
        transaction->serviceEnded();
    changed();
}

void PackageKitUpdates::check() {
    if (!canCheck())
        return;
    showProgress(QStringLiteral("Checking for updates..."));
    // The package lists may be old, and PackageKit does not refresh them by itself.
    run(
        "RefreshCache", [](auto* message) { return sd_bus_message_append(message, "b", 0); },
        [this](const Outcome&) { lookForUpdate(); });
}

void PackageKitUpdates::lookForUpdate() {
    run(
        "GetUpdates", [](auto* message) { return sd_bus_message_append(message, "t", noFilter); },
        [this](const Outcome& listed) {
            const auto update = ownPackage(listed.packages);
            if (update.empty()) {
                lookForInstallation();
                return;
            }
            endTask();
            offer(update);
        });
}

/// Without an update the program is up to date, or did not come from a package.
void PackageKitUpdates::lookForInstallation() {
    run(
        "Resolve",
        [](auto* message) {
            return sd_bus_message_append(message, "tas", onlyInstalled, 1, packageName);
        },
        [this](const Outcome& listed) {
            endTask();
            if (ownPackage(listed.packages).empty())
                showEnd(QStringLiteral("Quoxelin was installed from its sources."),
                        QStringLiteral("The package manager does not update it."));
            else
                showEnd(QStringLiteral("Quoxelin is up to date."));
        });
}

void PackageKitUpdates::install(const std::string& packageId) {
    // PackageKit may have gone meanwhile.
    if (!canCheck()) {
        showEnd(QStringLiteral("The update could not be installed."),
                QStringLiteral("The package service is not there."));
        return;
    }
    const auto version = versionOf(packageId);
    showProgress(QStringLiteral("Installing version %1...").arg(version));
    run(
        "UpdatePackages",
        [packageId](auto* message) {
            return sd_bus_message_append(message, "tas", onlyTrusted, 1, packageId.c_str());
        },
        [this, version](const Outcome&) {
            endTask();
            showEnd(QStringLiteral("Version %1 is installed.").arg(version),
                    QStringLiteral("It is used from the next start on."));
        });
}

/// Runs a task; it replaces the current one.
void PackageKitUpdates::run(const char* method, const Bus::Writer& arguments,
                            std::function<void(const Outcome&)> succeeded) {
    auto ended = [this, succeeded = std::move(succeeded)](const Outcome& outcome) {
        switch (outcome.kind) {
        case Outcome::Kind::succeeded:
            succeeded(outcome);
            return;
        case Outcome::Kind::canceled:
            endTask();
            window.reset();
            return;
        case Outcome::Kind::failed:
            endTask();
            showEnd(QStringLiteral("The update failed."), QString::fromStdString(outcome.error));
            return;
        }
    };
    transaction = std::make_unique<PackageKitTransaction>(bus, method, arguments, std::move(ended));
    changed();
}

void PackageKitUpdates::endTask() {
    transaction.reset();
    changed();
}

void PackageKitUpdates::showProgress(const QString& text) {
    if (!window)
        window = std::make_unique<UpdateWindow>();
    window->show({.text = text, .dismissal = QStringLiteral("Cancel"), .onDismissal = [this] {
                      if (transaction)
                          transaction->cancel();
                  }});
}

void PackageKitUpdates::showEnd(const QString& text, const QString& details) {
    window->show({.text = text, .details = details, .dismissal = QStringLiteral("Close")});
}

void PackageKitUpdates::offer(const std::string& packageId) {
    window->show({.text = QStringLiteral("Version %1 is available.").arg(versionOf(packageId)),
                  .action = QStringLiteral("Install"),
                  .onAction = [this, packageId] { install(packageId); },
                  .dismissal = QStringLiteral("Later")});
}

} // namespace quoxelin
