#include "Runner/Services/VPN/VPNTunnelService.h"

#include "Base/Dispatch.h"
#include "Base/Immortal.h"
#include "Base/Trim.h"
#include "Platform/Foundation.h"
#include "Platform/Platform.h"
#include "Runner/Shared/AppLogger.h"

#include <atomic>
#include <fmt/format.h>
#include <utility>

namespace quoxelin {

namespace {

bool isBlank(const std::string& text) {
    return trimmingWhitespacesAndNewlines(text).empty();
}

} // namespace

VPNTunnelService::VPNTunnelService(const Dependencies& dependencies) : dependencies(dependencies) {
    startMonitoring();
}

VPNTunnelService::~VPNTunnelService() {
    for (const auto& completion : waitingRemovals)
        dependencies.dispatch.main().async(completion);
}

VPNTunnelService& VPNTunnelService::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return VPNTunnelService({platform.dispatch, AppLogger::shared(), platform.networkExtension,
                                 platform.notificationCenter, platform.mainBundle,
                                 platform.processInfo});
    });
    return instance;
}

// Public operations

void VPNTunnelService::start() {
    if (mainThread.takesOver([this] { start(); }))
        return;
    pendingStartAfterApproval = true;
    wantsTunnel = true;
    wasRemoved = false;
    if (manager) {
        startVPNTunnel();
        return;
    }
    loadManager(false, mainThread.weakly([this] {
        updateStatus();
        if (wantsTunnel)
            startVPNTunnel();
    }));
}

/// A disconnect is a disconnect: neither a configuration change nor a load that is under way may
/// start the tunnel afterward.
void VPNTunnelService::giveUpStarts() {
    pendingStartAfterApproval = false;
    wantsTunnel = false;
}

void VPNTunnelService::stop() {
    if (mainThread.takesOver([this] { stop(); }))
        return;
    giveUpStarts();
    if (manager) {
        manager->stopVPNTunnel();
        return;
    }
    adoptExistingManager(mainThread.weakly([this] {
        if (manager) {
            manager->stopVPNTunnel();
            updateStatus();
            return;
        }
        log("Nothing to stop; reporting disconnected");
        connectionStatus = VPNConnectionStatus::disconnected;
    }));
}

void VPNTunnelService::ensureConfigurationSaved(std::function<void()> completion) {
    if (mainThread.takesOver([this, completion] { ensureConfigurationSaved(completion); },
                             completion))
        return;
    wasRemoved = false;
    loadManager(true, mainThread.weaklyOr(
                          [this, completion] {
                              updateStatus();
                              completion();
                          },
                          completion));
}

void VPNTunnelService::removeConfiguration(std::function<void()> completion) {
    if (mainThread.takesOver([this, completion] { removeConfiguration(completion); }, completion))
        return;
    giveUpStarts();
    wasRemoved = true;
    if (unansweredSaves > 0)
        waitingRemovals.push_back(std::move(completion));
    else
        removeSavedConfigurations(std::move(completion));
}

void VPNTunnelService::removeSavedConfigurations(Done completion) {
    dependencies.networkExtension.loadAllFromPreferences(mainThread.completion(
        [this, completion](const Result<Managers, Error>& loaded) {
            if (!loaded || loaded->empty()) {
                completion();
                return;
            }
            Managers ours;
            for (const auto& candidate : *loaded) {
                if (matches(*candidate))
                    ours.push_back(candidate);
            }
            removeAll(ours, completion);
        },
        completion));
}

// Finding, completing and saving the configuration

void VPNTunnelService::log(const std::string& message) const {
    dependencies.logger.log("VPN", message);
}

std::string VPNTunnelService::expectedProviderBundleIdentifier() const {
    const auto host = dependencies.mainBundle.bundleIdentifier();
    if (host && !host->empty())
        return *host + ".PacketTunnel";
    log("Missing host bundle identifier; falling back to default PacketTunnel id");
    return "com.quoxelin.desktop.PacketTunnel";
}

std::string VPNTunnelService::expectedLocalizedDescription() const {
    for (const auto* key : {"CFBundleDisplayName", "CFBundleName"}) {
        const auto name = dependencies.mainBundle.stringForInfoDictionaryKey(key);
        if (name && !isBlank(*name))
            return *name;
    }
    return dependencies.processInfo.processName();
}

bool VPNTunnelService::matches(const NETunnelProviderManager& candidate) const {
    const auto expected = expectedProviderBundleIdentifier();
    const auto protocol = candidate.configuration().protocol;
    return protocol && protocol->providerBundleIdentifier == expected;
}

std::shared_ptr<NETunnelProviderManager>
VPNTunnelService::firstMatch(const Managers& managers) const {
    for (const auto& candidate : managers) {
        if (matches(*candidate))
            return candidate;
    }
    return nullptr;
}

void VPNTunnelService::adoptExistingManager(Done completion) {
    dependencies.networkExtension.loadAllFromPreferences(mainThread.completion(
        [this, completion](const Result<Managers, Error>& loaded) {
            if (!loaded) {
                log("Error loading VPN preferences: " + loaded.error().localizedDescription);
            } else if (auto found = firstMatch(*loaded)) {
                manager = std::move(found);
                log("Adopted existing VPN configuration");
            } else {
                log("No saved Quoxelin VPN configuration");
            }
            completion();
        },
        completion));
}

void VPNTunnelService::loadManager(bool forceSave, Done completion) {
    dependencies.networkExtension.loadAllFromPreferences(mainThread.completion(
        [this, forceSave, completion](const Result<Managers, Error>& loaded) {
            if (!loaded) {
                log("Error loading VPN preferences: " + loaded.error().localizedDescription);
                completion();
                return;
            }
            manager = firstMatch(*loaded);
            // Removing is a configuration change too, so it must not cause a new configuration.
            if (!manager && wasRemoved) {
                completion();
                return;
            }
            if (!manager)
                manager = newManager(*loaded);
            manager->loadFromPreferences(mainThread.completion(
                [this, forceSave, completion](const std::optional<Error>& error) {
                    if (error) {
                        log("Error loading preferences: " + error->localizedDescription);
                        completion();
                        return;
                    }
                    configureAndSave(forceSave, completion);
                },
                completion));
        },
        completion));
}

/// The manager that is being created, so that there is one configuration however long saving takes.
std::shared_ptr<NETunnelProviderManager> VPNTunnelService::newManager(const Managers& others) {
    if (!unsavedManager) {
        if (!others.empty())
            log("Found existing manager(s) but none match Quoxelin; creating a new manager");
        unsavedManager = dependencies.networkExtension.makeTunnelProviderManager();
    }
    return unsavedManager;
}

/// Uses the current manager, because a removal or another load may have happened meanwhile.
void VPNTunnelService::configureAndSave(bool forceSave, Done completion) {
    if (!manager || wasRemoved) {
        completion();
        return;
    }
    auto configuration = manager->configuration();
    const bool changed = ensureConfigured(configuration);
    if (!changed && !forceSave) {
        completion();
        return;
    }
    ++unansweredSaves;
    manager->saveToPreferences(
        configuration,
        mainThread.completion(
            [this, completion, saved = manager](const std::optional<Error>& error) {
                saveAnswered();
                if (error) {
                    log("Failed to save configuration: " + error->localizedDescription);
                    completion();
                    return;
                }
                if (saved == unsavedManager)
                    unsavedManager = nullptr;
                // A saved manager must be loaded again before use.
                saved->loadFromPreferences(mainThread.completion(
                    [completion](const std::optional<Error>&) { completion(); }, completion));
            },
            completion));
}

void VPNTunnelService::saveAnswered() {
    if (--unansweredSaves > 0)
        return;
    for (auto& completion : std::exchange(waitingRemovals, {}))
        removeSavedConfigurations(std::move(completion));
}

/// Sets the required values. True if the configuration has to be saved.
bool VPNTunnelService::ensureConfigured(VPNConfiguration& candidate) const {
    const NETunnelProviderProtocol required{.providerBundleIdentifier =
                                                expectedProviderBundleIdentifier(),
                                            .serverAddress = "localhost",
                                            .disconnectOnSleep = false};
    auto& current = candidate.protocol;
    // On the platform's own object the values are set before they are compared.
    if (current && dependencies.networkExtension.sharesProtocolObjects())
        current = required;
    const bool replace = !current || !current->providerBundleIdentifier ||
                         *current->providerBundleIdentifier != expectedProviderBundleIdentifier() ||
                         current->serverAddress != required.serverAddress;
    if (replace)
        current = required;
    if (candidate.localizedDescription == expectedLocalizedDescription() && candidate.isEnabled)
        return replace;
    candidate.localizedDescription = expectedLocalizedDescription();
    candidate.isEnabled = true;
    return true;
}

void VPNTunnelService::removeAll(const Managers& managers, Done completion) {
    wasRemoved = true;
    auto& main = dependencies.dispatch.main();
    const Done whenEmpty = mainThread.weaklyOr(
        [this, completion, count = managers.size()] {
            manager = nullptr;
            connectionStatus = VPNConnectionStatus::disconnected;
            log(fmt::format("Removed {} VPN configuration(s)", count));
            completion();
        },
        completion);
    if (managers.empty()) {
        main.async(whenEmpty);
        return;
    }
    const Done leave = [&main, whenEmpty,
                        entered = std::make_shared<std::size_t>(managers.size())] {
        if (--*entered == 0)
            main.async(whenEmpty);
    };
    for (const auto& ours : managers) {
        ours->removeFromPreferences(mainThread.completion(
            [this, leave](const std::optional<Error>& error) {
                if (error)
                    log("removeFromPreferences failed: " + error->localizedDescription);
                leave();
            },
            leave));
    }
}

} // namespace quoxelin
