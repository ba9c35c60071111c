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

/// What fills the panel: a narrow column of rows with its two pop-overs and the uninstall
/// confirmation. It shows the published state of the objects that it observes and holds no rule of
/// its own; every action calls one operation of theirs or of the system. Main thread only.
///
/// The code: QuoxelinMenuBarContent.cpp joins the sections of +Sections.cpp and +Popovers.cpp;
/// +Actions.cpp is what the rows do.
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
        /// Where the daemon writes its log.
        std::filesystem::path daemonLogPath = "/var/log/quoxelind/client.log";
    };

    QuoxelinMenuBarContent(const Dependencies& dependencies, std::shared_ptr<AppViewState> app,
                           std::shared_ptr<UpdaterViewModel> updaterVM,
                           std::shared_ptr<SystemExtensionService> systemExtension);

    const std::shared_ptr<AppViewState> app;
    const std::shared_ptr<UpdaterViewModel> updaterVM;
    const std::shared_ptr<SystemExtensionService> systemExtension;

    // What only the panel knows. The panel keeps one content, so these last as long as it does.

    /// The system extension will be active after a restart of the machine.
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

    /// The tree for the state as it is; changes nothing. The tree may outlive this object: its
    /// actions do nothing then.
    ViewNode body();

    /// The panel is shown for the first time: asks the person to allow notifications.
    void onAppear();

    /// The panel has been hidden: pop-overs and confirmation close, nothing is under the pointer.
    void panelDidHide();

    /// Puts the text on the clipboard and notifies of it: the label and " Copied", or "Copied"
    /// alone when the label is empty.
    void copy(const std::string& text, const std::string& label);

    struct SplitIPs {
        std::optional<std::string> ipv4;
        std::optional<std::string> ipv6;
        bool operator==(const SplitIPs&) const = default;
    };

    /// The first address of each family in a list with commas.
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
