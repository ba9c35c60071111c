#include "Runner/Services/SystemExtension/SystemExtensionService.h"

#include "Base/Dispatch.h"
#include "Base/Immortal.h"
#include "Platform/Foundation.h"
#include "Platform/NSApplication.h"
#include "Platform/NSWorkspace.h"
#include "Platform/Platform.h"
#include "Runner/Services/SystemExtension/ExtensionPropertiesProbe.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/OpenURL.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <utility>

namespace quoxelin {

namespace {

/// How long a superseded request blocks other activations while no replacement reports.
constexpr auto replacingRequestTimeout = seconds(30);
constexpr auto propertiesProbeTimeout = seconds(5);

/// Settings pages where the user can allow the extension, in order of preference.
std::vector<const char*> settingsAddresses(int operatingSystemMajorVersion) {
    if (operatingSystemMajorVersion >= 15)
        return {
            "x-apple.systempreferences:com.apple.LoginItems-Settings.extension",
            "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension"
            "?extensionPoint=com.apple.system_extension.network_extension",
            "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension",
        };
    return {
        "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension"
        "?extensionPoint=com.apple.system_extension.network_extension",
        "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension",
        "x-apple.systempreferences:com.apple.ExtensionsPreferences",
        "x-apple.systempreferences:com.apple.LoginItems-Settings.extension",
        "x-apple.systempreferences:com.apple.preference.security?General",
        "x-apple.systempreferences:com.apple.preference.security",
    };
}

/// The alphabetically first system extension in the folder, if any.
std::optional<std::filesystem::path> firstSystemExtension(const std::filesystem::path& folder) {
    std::optional<std::filesystem::path> first;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const auto& path = entry->path();
        if (path.extension() == ".systemextension" && (!first || path < *first))
            first = path;
    }
    return first;
}

} // namespace

SystemExtensionService::SystemExtensionService(const Dependencies& dependencies)
    : dependencies(dependencies) {}

std::shared_ptr<SystemExtensionService> SystemExtensionService::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return std::make_shared<SystemExtensionService>(
            Dependencies{platform.dispatch, AppLogger::shared(), platform.systemExtensionManager,
                         platform.notificationCenter, platform.mainBundle, platform.processInfo,
                         platform.workspace});
    });
    return instance;
}

void SystemExtensionService::log(const std::string& message) const {
    dependencies.logger.log("SysExt", message);
}

// The extension

std::optional<std::string> SystemExtensionService::embeddedSystemExtensionIdentifier() const {
    const auto embedded = firstSystemExtension(dependencies.mainBundle.bundleURL() / "Contents" /
                                               "Library" / "SystemExtensions");
    if (!embedded)
        return std::nullopt;
    return dependencies.mainBundle.identifierOfBundleAt(*embedded);
}

std::string SystemExtensionService::expectedExtensionIdentifier() const {
    if (const auto embedded = embeddedSystemExtensionIdentifier())
        return *embedded;
    const auto host = dependencies.mainBundle.bundleIdentifier();
    if (host && !host->empty())
        return *host + ".PacketTunnel";
    log("Missing host bundle identifier; falling back to default PacketTunnel id");
    return "com.quoxelin.desktop.PacketTunnel";
}

// Activation

void SystemExtensionService::activate() {
    if (mainThread.takesOver([this] { activate(); }))
        return;
    if (isActivating) {
        log("Activation already in progress, skipping");
        return;
    }
    isActivating = true;
    ++activationGeneration;
    const auto identifier = expectedExtensionIdentifier();
    log("Activating extension " + identifier);
    dependencies.manager.submitRequest(
        {OSSystemExtensionRequest::Kind::activation, identifier, weak_from_this()});
}

OSSystemExtensionReplacementAction
SystemExtensionService::actionForReplacingExtension(const OSSystemExtensionRequest& request,
                                                    const OSSystemExtensionProperties& existing,
                                                    const OSSystemExtensionProperties& extension) {
    log(fmt::format("Replacing extension {} version {} with version {}", request.identifier,
                    existing.bundleShortVersion, extension.bundleShortVersion));
    return OSSystemExtensionReplacementAction::replace;
}

void SystemExtensionService::requestNeedsUserApproval(const OSSystemExtensionRequest& request) {
    log(fmt::format("Extension {} requires user approval", request.identifier));
    isActivating = false;
    reportApprovalNeeded(std::nullopt);
}

void SystemExtensionService::didFinishWithResult(const OSSystemExtensionRequest&, int result) {
    isActivating = false;
    if (result == static_cast<int>(OSSystemExtensionRequestResult::completed)) {
        log("Completed");
        reportActivationSuccess();
    } else if (result ==
               static_cast<int>(OSSystemExtensionRequestResult::willCompleteAfterReboot)) {
        log("Will complete after reboot");
        mainThread.async([this] {
            isApproved = false;
            needsUserApproval = false;
            lastErrorDescription = std::nullopt;
        });
        if (onWillCompleteAfterReboot)
            onWillCompleteAfterReboot();
    } else {
        // Unknown result: report neither success nor failure.
        log(fmt::format("Unexpected result {}", result));
    }
}

void SystemExtensionService::didFailWithError(const OSSystemExtensionRequest&, const Error& error) {
    log(fmt::format("Request failed: domain={} code={} {}", error.domain, error.code,
                    error.localizedDescription));
    const auto is = [&](OSSystemExtensionError code) {
        return error.domain == OSSystemExtensionErrorDomain &&
               error.code == static_cast<std::int64_t>(code);
    };
    if (is(OSSystemExtensionError::requestSuperseded)) {
        log("Activation superseded; waiting for the replacing request");
        awaitReplacingRequest();
        return;
    }
    isActivating = false;
    if (error.domain != OSSystemExtensionErrorDomain) {
        reportActivationFailure(error);
    } else if (is(OSSystemExtensionError::requestCanceled)) {
        log("Activation canceled; keeping current state");
    } else if (is(OSSystemExtensionError::authorizationRequired)) {
        log("Extension needs user approval: " + error.localizedDescription);
        reportApprovalNeeded(error.localizedDescription);
    } else {
        checkExtensionInstalled([this, error](bool installed) {
            if (!installed) {
                reportActivationFailure(error);
                return;
            }
            log("Activation refused but an installed extension is enabled; continuing with it");
            reportActivationSuccess();
        });
    }
}

void SystemExtensionService::foundProperties(const OSSystemExtensionRequest&,
                                             const std::vector<OSSystemExtensionProperties>&) {
    // Only probes request properties, and they have their own delegate.
}

void SystemExtensionService::awaitReplacingRequest() {
    mainThread.asyncAfter(replacingRequestTimeout, [this, generation = activationGeneration] {
        if (!isActivating || activationGeneration != generation)
            return;
        log("Replacing request never reported; clearing in-flight guard");
        isActivating = false;
    });
}

void SystemExtensionService::reportApprovalNeeded(std::optional<std::string> errorDescription) {
    mainThread.async([this, errorDescription = std::move(errorDescription)] {
        needsUserApproval = true;
        isApproved = false;
        lastErrorDescription = errorDescription;
    });
    dependencies.notificationCenter.post(quoxelinSystemExtensionNeedsApproval);
    if (onNeedsUserApproval)
        onNeedsUserApproval();
    openSystemSettings();
    startWaitingForApproval();
}

void SystemExtensionService::reportActivationSuccess() {
    stopWaitingForApproval();
    mainThread.async([this] {
        isApproved = true;
        needsUserApproval = false;
        lastErrorDescription = std::nullopt;
    });
    dependencies.notificationCenter.post(quoxelinSystemExtensionCompleted);
    if (onCompleted)
        onCompleted();
}

void SystemExtensionService::reportActivationFailure(const Error& error) {
    log("Extension not available: " + error.localizedDescription);
    stopWaitingForApproval();
    mainThread.async([this, description = error.localizedDescription] {
        isApproved = false;
        needsUserApproval = false;
        lastErrorDescription = description;
    });
    dependencies.notificationCenter.post(quoxelinSystemExtensionFailed, error);
    if (onFailed)
        onFailed();
}

// Looking for an installed version

void SystemExtensionService::checkExtensionInstalled(
    std::function<void(bool installed)> completion) {
    const auto probe = std::make_shared<ExtensionPropertiesProbe>(dependencies.logger,
                                                                  expectedExtensionIdentifier());
    probe->onFinish = mainThread.weakly([this, id = probe->id, identifier = probe->identifier,
                                         completion = std::move(completion)](bool installed) {
        propertiesProbes.erase(std::remove_if(propertiesProbes.begin(), propertiesProbes.end(),
                                              [&](const auto& one) { return one->id == id; }),
                               propertiesProbes.end());
        log(fmt::format("Properties probe for {}: installed={}", identifier, installed));
        completion(installed);
    });
    propertiesProbes.push_back(probe);
    dependencies.manager.submitRequest(
        {OSSystemExtensionRequest::Kind::properties, probe->identifier, probe});
    dependencies.dispatch.main().asyncAfter(propertiesProbeTimeout, [weak = std::weak_ptr(probe)] {
        if (const auto waiting = weak.lock())
            waiting->finish(false);
    });
}

// The user's approval

void SystemExtensionService::startWaitingForApproval() {
    stopWaitingForApproval();
    appDidBecomeActiveObserver = dependencies.notificationCenter.addObserver(
        NSApplicationDidBecomeActiveNotification, [this](const Notification&) {
            if (!needsUserApproval || isApproved)
                return;
            log("App became active, re-trying activation");
            activate();
        });
}

void SystemExtensionService::stopWaitingForApproval() {
    appDidBecomeActiveObserver.reset();
}

void SystemExtensionService::openSystemSettings() {
    if (mainThread.takesOver([this] { openSystemSettings(); }))
        return;
    auto& workspace = dependencies.workspace;
    if (openFirstURL(workspace,
                     settingsAddresses(dependencies.processInfo.operatingSystemMajorVersion())))
        return;
    for (const auto* application : {"com.apple.SystemSettings", "com.apple.systempreferences"}) {
        if (const auto url = workspace.urlForApplication(application)) {
            workspace.openApplication(*url);
            return;
        }
    }
}

} // namespace quoxelin
