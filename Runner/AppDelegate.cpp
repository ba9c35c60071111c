#include "Runner/AppDelegate.h"

#include "Base/Dispatch.h"
#include "Platform/NSPanel.h"
#include "Platform/NSStatusBar.h"
#include "Platform/ServiceManagement.h"
#include "Platform/Updater.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/Views/HostingController.h"
#include "Runner/Views/MenuBar.h"

#include <algorithm>

namespace quoxelin {

AppDelegate::Dependencies AppDelegate::Dependencies::fromCurrentPlatform() {
    return {
        Platform::current(),
        AppLogger::shared(),
        LocalAPIClient::shared(),
        VPNTunnelService::shared(),
        SystemExtensionService::shared(),
        AppViewState::shared(),
    };
}

std::shared_ptr<AppDelegate> AppDelegate::make(const Dependencies& dependencies) {
    return std::shared_ptr<AppDelegate>(new AppDelegate(dependencies));
}

AppDelegate::AppDelegate(const Dependencies& dependencies)
    : platform(dependencies.platform), localAPI(dependencies.localAPI), tunnel(dependencies.tunnel),
      systemExtension(dependencies.systemExtension), appState(dependencies.appState),
      cli({dependencies.logger, dependencies.platform.xpc, dependencies.platform.mainBundle}),
      logger(dependencies.logger) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::handleGetURLEvent(const std::optional<std::string>& directObject) {
    if (!directObject)
        return;
    if (const auto url = Url::parse(*directObject))
        handleIncomingURL(*url);
}

void AppDelegate::handleIncomingURL(const Url& url) {
    if (mainThread.takesOver([this, url] { handleIncomingURL(url); }))
        return;
    if (url.scheme() != "quoxelin")
        return;
    const auto items = url.queryItems();
    const auto token = std::find_if(items.begin(), items.end(),
                                    [](const auto& item) { return item.name == "token"; });
    if (token == items.end() || token->value.value_or("").empty())
        return;
    logger.log("State", "Authenticate called with token");
    appState->pollForLoginCompletion();
    showWindow();
}

void AppDelegate::willPresent(const UNNotificationRequest&,
                              std::function<void(unsigned options)> completionHandler) {
    completionHandler(UNNotificationPresentationOptionBanner |
                      UNNotificationPresentationOptionSound);
}

void AppDelegate::applicationWillTerminate() {
    logger.log("App", "Quoxelin Desktop App terminating...");
    logger.log("App", "Invoking quoxelin down via Helper");
    cli.down();
    tunnel.stop();
    globalClickMonitor.reset();
    logger.log("App", "Quoxelin Desktop App terminated (quoxelind still running)");
}

} // namespace quoxelin
