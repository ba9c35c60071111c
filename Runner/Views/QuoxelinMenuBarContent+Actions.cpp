#include "Base/Dispatch.h"
#include "Platform/NSWorkspace.h"
#include "Platform/UserNotifications.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/OpenURL.h"
#include "Runner/Shared/Uuid.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"

#include <array>
#include <fmt/ranges.h>
#include <system_error>

namespace quoxelin {

void QuoxelinMenuBarContent::toggleVpn() {
    switch (app->vpn->status) {
    case VPNConnectionStatus::connected:
        return app->disconnect();
    case VPNConnectionStatus::connecting:
        return;
    case VPNConnectionStatus::disconnected:
    case VPNConnectionStatus::disconnecting:
    case VPNConnectionStatus::error:
    case VPNConnectionStatus::unknown:
        return app->connect();
    }
}

void QuoxelinMenuBarContent::startLoginFlow() {
    dependencies.localAPI.startLogin(
        mainThread.callback([this](const Result<std::string, LocalAPIError>& url) {
            if (!url) {
                dependencies.logger.log("UI",
                                        "LocalAPI login failed: " + url.error().errorDescription());
                return;
            }
            open(*url);
            app->pollForLoginCompletion();
        }));
}

void QuoxelinMenuBarContent::openLoginItemsSettings() {
    openFirstURL(dependencies.workspace,
                 std::array{
                     "x-apple.systempreferences:com.apple.LoginItems-Settings.extension",
                     "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension",
                     "x-apple.systempreferences:com.apple.preference.security?General",
                 });
}

void QuoxelinMenuBarContent::resolveSystemExtension() {
    waitingReboot = false;
    systemExtension->openSystemSettings();
    if (!systemExtension->isApproved)
        systemExtension->activate();
}

void QuoxelinMenuBarContent::copy(const std::string& text, const std::string& label) {
    dependencies.pasteboard.clearContents();
    dependencies.pasteboard.setString(text);
    notifyCopied(label.empty() ? "Copied" : label + " Copied", text);
}

void QuoxelinMenuBarContent::notifyCopied(const std::string& title, const std::string& body) {
    dependencies.notificationCenter.add({"copy-" + freshUuid(), title, body, true});
}

void QuoxelinMenuBarContent::exportLogs() {
    NSOpenPanelOptions options;
    options.title = "Export Logs";
    options.prompt = "Export";
    options.canChooseFiles = false;
    options.canChooseDirectories = true;
    options.canCreateDirectories = true;
    dependencies.openPanel.begin(
        options, mainThread.weakly([this](const std::optional<std::filesystem::path>& directory) {
            if (directory)
                exportLogs(*directory);
        }));
}

namespace {

/// Copies the file over the destination. Does nothing if both are the same file.
bool replaceByCopy(const std::filesystem::path& file, const std::filesystem::path& destination) {
    std::error_code error;
    if (std::filesystem::equivalent(file, destination, error))
        return true;
    std::filesystem::remove(destination, error);
    return std::filesystem::copy_file(file, destination, error);
}

} // namespace

void QuoxelinMenuBarContent::exportLogs(const std::filesystem::path& directory) {
    const auto finish = mainThread.callback([this, directory](const auto& exported) {
        if (exported.empty())
            return;
        dependencies.logger.log("UI", fmt::format("Exported logs: {}", fmt::join(exported, ", ")));
        dependencies.workspace.openFolder(directory);
    });
    // The logs may be large, and the folder's disk slow.
    dependencies.dispatch.global(QualityOfService::userInitiated)
        .async([logs = std::array{std::pair(std::filesystem::path(dependencies.logger.path()),
                                            "app.log"),
                                  std::pair(dependencies.daemonLogPath, "client.log")},
                directory, finish] {
            std::vector<std::string> exported;
            std::error_code error;
            for (const auto& [log, name] : logs)
                if (std::filesystem::exists(log, error) && replaceByCopy(log, directory / name))
                    exported.emplace_back(name);
            finish(exported);
        });
}

void QuoxelinMenuBarContent::open(const std::string& text) {
    openWebPage(dependencies.workspace, text);
}

} // namespace quoxelin
