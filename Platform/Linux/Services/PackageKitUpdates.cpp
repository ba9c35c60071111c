#include "Platform/Linux/Services/PackageKitUpdates.h"

#include <algorithm>
#include <utility>

namespace quoxelin {

namespace {

const std::string packagePrefix = "quoxelin-desktop;";

// PackageKit's bit fields.
constexpr std::uint64_t noFilter = 1ULL << 1;
constexpr std::uint64_t onlyTrusted = 1ULL << 1;

QString versionOf(const std::string& packageId) {
    return QString::fromStdString(packageId).section(';', 1, 1);
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
            endTask();
            showOutcome(listed);
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

void PackageKitUpdates::showOutcome(const Outcome& listed) {
    const auto found =
        std::find_if(listed.packages.begin(), listed.packages.end(),
                     [](const auto& packageId) { return packageId.starts_with(packagePrefix); });
    if (found == listed.packages.end()) {
        showEnd(QStringLiteral("Quoxelin is up to date."));
        return;
    }
    window->show({.text = QStringLiteral("Version %1 is available.").arg(versionOf(*found)),
                  .action = QStringLiteral("Install"),
                  .onAction = [this, packageId = *found] { install(packageId); },
                  .dismissal = QStringLiteral("Later")});
}

} // namespace quoxelin
