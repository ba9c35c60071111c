#include "Runner/Stores/AppViewState.h"

#include "Platform/AppleScript.h"
#include "Platform/Foundation.h"
#include "Platform/NSApplication.h"
#include "Platform/ServiceManagement.h"
#include "Runner/Services/LoginItem.h"
#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"

#include <array>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <utility>

namespace quoxelin {

namespace {

/// Removes the traces of both release and development builds, whose names differ. The property
/// lists are spelled "helper", the services "Helper". The commands contain no double quotes or
/// backslashes, so the script needs no escaping.
constexpr std::array cleanupCommands = {
    "killall quoxelind 2>/dev/null || true",
    "pkill -f com.quoxelin.desktop.Helper 2>/dev/null || true",
    "pkill -f com.quoxelin.desktop.PacketTunnel 2>/dev/null || true",
    "launchctl bootout system/com.quoxelin.desktop.Helper 2>/dev/null || true",
    "launchctl bootout system/com.quoxelin.desktop.develop.debug.Helper 2>/dev/null || true",
    "rm -rf /Library/quoxelin",
    "rm -rf /etc/quoxelin",
    "rm -rf /var/log/quoxelind",
    "rm -f /var/run/quoxelind.socket",
    "rm -f /tmp/quoxelind.log",
    "rm -f /Library/LaunchDaemons/com.quoxelin.desktop.helper.plist",
    "rm -f /Library/LaunchDaemons/com.quoxelin.desktop.develop.debug.helper.plist",
    "networksetup -removeNetworkService Quoxelin 2>/dev/null || true",
    "networksetup -removeNetworkService 'Quoxelin Debug' 2>/dev/null || true",
};

std::string privilegedCleanupScript() {
    return fmt::format("do shell script \"{}\" with administrator privileges",
                       fmt::join(cleanupCommands, "; "));
}

} // namespace

void AppViewState::uninstall() {
    if (mainThread.takesOver([this] { uninstall(); }))
        return;
    log("uninstall called");
    if (std::exchange(isUninstalling, true)) {
        log("Uninstall already in progress, skipping");
        return;
    }
    runPrivilegedCleanup(mainThread.weakly([this](bool succeeded) {
        if (succeeded) {
            removeEverything();
        } else {
            isUninstalling = false;
            log("Uninstall cancelled or failed, no changes made");
        }
    }));
}

void AppViewState::runPrivilegedCleanup(std::function<void(bool succeeded)> completion) {
    const auto finish = mainThread.callback(
        [this, completion = std::move(completion)](const std::optional<std::string>& error) {
            log(error ? "Privileged cleanup error: " + *error : "Privileged cleanup completed");
            completion(!error);
        });
    dependencies.dispatch.global(QualityOfService::userInitiated)
        .async([&appleScript = dependencies.appleScript, finish] {
            std::optional<std::string> error;
            if (const auto script = appleScript.initWithSource(privilegedCleanupScript()))
                error = script->executeAndReturnError();
            finish(error);
        });
}

/// From here on nothing follows the daemon or connects, so that no configuration is left behind.
void AppViewState::removeEverything() {
    isRemoved = true;
    cancelVPNRetry();
    disconnect();
    endLoginPolling();
    hashiBus->stop();
    LoginItem::unregister(dependencies.userDefaults, *dependencies.serviceManagement.mainApp());
    dependencies.tunnel.removeConfiguration(mainThread.weakly([this] {
        removeSupportFolder();
        log("Uninstall completed");
        dependencies.application.terminate();
    }));
}

void AppViewState::removeSupportFolder() {
    const auto directories = dependencies.fileManager.applicationSupportDirectories();
    if (directories.empty())
        return;
    // A pending line could recreate the log file during the removal.
    dependencies.logger.flush(seconds(0.05));
    std::error_code ignored;
    std::filesystem::remove_all(directories.front() / "Quoxelin", ignored);
}

} // namespace quoxelin
