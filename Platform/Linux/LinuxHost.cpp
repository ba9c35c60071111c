#include "Platform/Linux/LinuxHost.h"

namespace quoxelin {

namespace {

/// A running process answers in milliseconds; this allows for one that is starting or busy.
constexpr std::chrono::milliseconds handOverPatience{5000};

/// For the last answers of NetworkManager and the helper. Both refuse a caller that has exited
/// before they look it up.
constexpr std::chrono::milliseconds settlingTime{1000};

constexpr int doesNotAnswerExitCode = 1;

} // namespace

LinuxHost::LinuxHost(const LaunchOptions& options)
    : desktop(options),
      singleInstance(sessionBus, {.open =
                                      [this](const std::vector<std::string>& urls) {
                                          for (const auto& url : urls)
                                              desktop.appleEventManager.send(url);
                                      },
                                  .activate = [this] { desktop.comeToTheFront(); }}),
      processInfo(mainBundle, options.program),
      systemExtensions(
          {.bundle = mainBundle.bundleURL(), .installer = QUOXELIN_LIBEXEC "/install-extension"}),
      services(compose(options)) {
    systemBus.awaitConnection();
    systemBus.serve();
}

Platform LinuxHost::compose(const LaunchOptions& options) {
    return {
        .dispatch = desktop.dispatch,
        .connector = desktop.connector,
        .notificationCenter = desktop.notificationCenter,
        .systemLog = desktop.systemLog,
        .mainBundle = mainBundle,
        .userDefaults = userDefaults,
        .processInfo = processInfo,
        .fileManager = desktop.fileManager,
        .networkExtension = networkExtension,
        .systemExtensionManager = systemExtensions,
        .serviceManagement = serviceManagement,
        .xpc = helper,
        .userNotificationCenter = userNotificationCenter,
        .updates = updates,
        .appleScript = appleScript,
        .application = desktop.application,
        .statusBar = desktop.statusBar,
        .panels = desktop.panels,
        .workspace = desktop.workspace,
        .pasteboard = desktop.pasteboard,
        .openPanel = desktop.openPanel,
        .appleEventManager = desktop.appleEventManager,
        .daemonSocketPath = options.socketPath.value_or(defaultDaemonSocketPath),
        .helperGuidance = "The background service does not run, or you are not allowed to use it. "
                          "An administrator can check it with: systemctl status quoxelin-helper",
        .systemExtensionGuidance =
            "An administrator has to allow the VPN plugin of NetworkManager. "
            "Click here to be asked for it.",
    };
}

void LinuxHost::observeMissingServices(std::function<void(const std::string&)> observer) {
    // Starts in a turn of the loop after the one that launches the application.
    desktop.dispatch.main().async([this, observer = std::move(observer)] {
        desktop.dispatch.main().async([this, observer] {
            missingServices = std::make_unique<MissingServices>(sessionBus, systemBus,
                                                                desktop.statusBar, observer);
        });
    });
}

void LinuxHost::settle() {
    const auto began = std::chrono::steady_clock::now();
    networkExtension.endTunnels(settlingTime);
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - began);
    helper.waitForRecentReplies(settlingTime - taken);
}

std::optional<LaunchRefusal> LinuxHost::refusal(const LaunchOptions& options) {
    const auto role = singleInstance.claim(options.callbackURL, handOverPatience);
    if (!role)
        return LaunchRefusal{role.error(), doesNotAnswerExitCode};
    if (*role == SingleInstance::Role::follower)
        return LaunchRefusal{};
    return std::nullopt;
}

} // namespace quoxelin
