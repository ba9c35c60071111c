#pragma once

#include "Base/MainThread.h"
#include "Base/Published.h"
#include "Runner/Stores/LoginViewState.h"
#include "Runner/Views/Binding.h"
#include "View/ViewRecords.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

class AppLogger;
class AppViewState;
class Dispatch;
class LocalAPIClient;
class NSApplication;
class NSBundle;
class NSOpenPanel;
class NSPasteboard;
class NSProcessInfo;
class NSWorkspace;
class SystemExtensionService;
class UNUserNotificationCenter;
class UpdaterViewModel;
struct ProfileInfo;

/// The content of the panel: a narrow column of rows with two popovers and the uninstall
/// confirmation. It shows the published state of the observed objects and contains no business
/// rules; each action calls one operation of theirs or of the system. Main thread only.
///
/// QuoxelinMenuBarContent.cpp combines the sections of +Sections.cpp and +Popovers.cpp;
/// +Actions.cpp has the actions of the rows.
class QuoxelinMenuBarContent final : public ObservableObject {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        AppLogger& logger;
        LocalAPIClient& localAPI;
        NSWorkspace& workspace;
        NSPasteboard& pasteboard;
        NSOpenPanel& openPanel;
        NSBundle& mainBundle;
        NSProcessInfo& processInfo;
        UNUserNotificationCenter& notificationCenter;
        NSApplication& application;
        /// The daemon's log file.
        std::filesystem::path daemonLogPath = "/var/log/quoxelind/client.log";
        /// Like those of `Platform`.
        std::string helperGuidance{};
        std::string systemExtensionGuidance{};
    };

    QuoxelinMenuBarContent(const Dependencies& dependencies, std::shared_ptr<AppViewState> app,
                           std::shared_ptr<UpdaterViewModel> updaterVM,
                           std::shared_ptr<SystemExtensionService> systemExtension);

    const std::shared_ptr<AppViewState> app;
    const std::shared_ptr<UpdaterViewModel> updaterVM;
    const std::shared_ptr<SystemExtensionService> systemExtension;

    // State of the panel only. It lasts as long as the panel, which keeps one content.

    /// The system extension will be active after a reboot.
    Published<bool> waitingReboot{*this, false};
    Published<bool> isMorePopoverPresented{*this, false};
    Published<bool> isHoveringConnect{*this, false};
    Published<bool> isHoveringLogout{*this, false};
    Published<bool> isHoveringMore{*this, false};
    Published<bool> isHoveringAbout{*this, false};
    Published<bool> isHoveringDocs{*this, false};
    Published<bool> isHoveringQuit{*this, false};
    Published<bool> isHoveringDNS{*this, false};
    Published<bool> isHoveringIPv4{*this, false};
    Published<bool> isHoveringIPv6{*this, false};
    Published<bool> isHoveringLogin{*this, false};
    Published<bool> isHoveringSwitchAccount{*this, false};
    Published<bool> isHoveringAddAccount{*this, false};
    Published<bool> isHoveringExportLogs{*this, false};
    Published<bool> isHoveringCheckUpdate{*this, false};
    Published<bool> isHoveringUninstall{*this, false};
    Published<bool> showUninstallConfirm{*this, false};
    /// The account under the pointer.
    Published<std::optional<std::string>> hoveringProfileId{*this, std::nullopt};
    Published<bool> isSwitchAccountPopoverPresented{*this, false};

    /// The tree for the current state. Changes nothing. If the tree outlives this object, its
    /// actions do nothing.
    ViewNode body();

    /// The connection's state in the panel's words; empty while no user is logged in.
    std::string connectionState() const;

    /// Called when the panel is first shown. Asks the user to allow notifications.
    void onAppear();

    /// Called when the panel is hidden. Closes popovers and the confirmation and ends all hovering.
    void panelDidHide();

    /// Copies the text to the clipboard and posts a notification: the label and " Copied", or
    /// "Copied" if the label is empty.
    void copy(const std::string& text, const std::string& label);

    struct SplitIPs {
        std::optional<std::string> ipv4;
        std::optional<std::string> ipv6;
        bool operator==(const SplitIPs&) const = default;
    };

    /// The first address of each family in a comma-separated list.
    static SplitIPs splitIPs(std::string_view addresses);

  private:
    using Action = std::function<void()>;

    std::vector<ViewNode> loggedOutSections();
    std::vector<ViewNode> loggedInSections();
    ViewNode helperApprovalSection();
    ViewNode accountHeader();
    ViewNode connectionStatusLine();
    ViewNode connectRow();
    ViewNode systemExtensionWarning();
    std::vector<ViewNode> addressRows();
    ViewNode addressRow(const std::string& label, Published<bool>& isHovering,
                        const std::string& value, const std::string& copyLabel);
    ViewNode identityRows();
    ViewNode checkForUpdatesRow();
    ViewNode moreRow();
    ViewNode switchAccountButton(bool loggedIn);
    ViewNode quitButton();
    ViewNode profileList(bool loggedIn, const Action& dismiss);
    ViewNode profileRow(const ProfileInfo& profile, bool loggedIn, const Action& dismiss);
    ViewNode addAccountRow(const Action& dismiss);
    std::shared_ptr<const Popover> switchAccountPopover(bool loggedIn);
    std::shared_ptr<const Popover> morePopover();
    std::shared_ptr<const Alert> uninstallConfirmation();

    ViewNode row(ViewNode label, Published<bool>& isHovering, Action action);
    ViewNode row(const std::string& label, Published<bool>& isHovering, Action action);
    Binding<bool> binding(Published<bool>& flag);

    std::string systemExtensionGuideText() const;
    bool isWhiteLabelBuild() const;

    void toggleVpn();
    void startLoginFlow();
    void openLoginItemsSettings();
    void resolveSystemExtension();
    void notifyCopied(const std::string& title, const std::string& body);
    void exportLogs();
    void exportLogs(const std::filesystem::path& directory);
    void open(const std::string& text);

    Dependencies dependencies;
    Subscription loginSubscription;
    bool hasAppeared = false;
    MainThread mainThread{dependencies.dispatch};
};

} // namespace quoxelin
