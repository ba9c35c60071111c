#include "Runner/Views/QuoxelinMenuBarContent.h"

#include "Base/ProgrammingFault.h"
#include "Platform/UserNotifications.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/Views/MenuRowStyle.h"
#include "View/ViewBuilders.h"

#include <array>
#include <iterator>

namespace quoxelin {

QuoxelinMenuBarContent::QuoxelinMenuBarContent(
    const Dependencies& dependencies, std::shared_ptr<AppViewState> app,
    std::shared_ptr<UpdaterViewModel> updaterVM,
    std::shared_ptr<SystemExtensionService> systemExtension)
    : app(std::move(app)), updaterVM(std::move(updaterVM)),
      systemExtension(std::move(systemExtension)), dependencies(dependencies) {
    if (!this->app || !this->updaterVM || !this->systemExtension)
        programmingFault("the panel's content needs the objects that it shows");

    this->systemExtension->onWillCompleteAfterReboot =
        mainThread.weakly([this] { waitingReboot = true; });

    // Logging in or out replaces the rows that anchor the popovers. Without this, a popover would
    // return with its row.
    loginSubscription = this->app->login.subscribe(
        [this, wasLoggedIn = this->app->login->isLoggedIn](const LoginViewState& login) mutable {
            if (std::exchange(wasLoggedIn, login.isLoggedIn) == login.isLoggedIn)
                return;
            isMorePopoverPresented = false;
            isSwitchAccountPopoverPresented = false;
        });
}

ViewNode QuoxelinMenuBarContent::body() {
    auto column = view::verticalStack({});
    column.width = 260;
    if (app->helperNeedsApproval) {
        column.children.push_back(view::keyed("helper", helperApprovalSection()));
        column.children.push_back(view::keyed("helper divider", view::divider()));
    }
    auto sections = app->login->isLoggedIn ? loggedInSections() : loggedOutSections();
    column.children.insert(column.children.end(), std::make_move_iterator(sections.begin()),
                           std::make_move_iterator(sections.end()));
    column.alert = uninstallConfirmation();
    return column;
}

void QuoxelinMenuBarContent::onAppear() {
    if (std::exchange(hasAppeared, true))
        return;
    dependencies.notificationCenter.requestAuthorization(
        UNAuthorizationOptionAlert | UNAuthorizationOptionSound | UNAuthorizationOptionBadge,
        [](bool, const std::optional<Error>&) {});
}

void QuoxelinMenuBarContent::panelDidHide() {
    const std::array flags{
        &isMorePopoverPresented, &isSwitchAccountPopoverPresented,
        &showUninstallConfirm,   &isHoveringConnect,
        &isHoveringLogout,       &isHoveringMore,
        &isHoveringAbout,        &isHoveringDocs,
        &isHoveringQuit,         &isHoveringDNS,
        &isHoveringIPv4,         &isHoveringIPv6,
        &isHoveringLogin,        &isHoveringSwitchAccount,
        &isHoveringAddAccount,   &isHoveringExportLogs,
        &isHoveringCheckUpdate,  &isHoveringUninstall,
    };
    for (auto* const flag : flags)
        if (flag->get())
            *flag = false;
    if (hoveringProfileId.get())
        hoveringProfileId = std::nullopt;
}

ViewNode QuoxelinMenuBarContent::row(ViewNode label, Published<bool>& isHovering, Action action) {
    ViewNode row;
    row.kind = ViewNode::Kind::row;
    row.accessibilityLabel = label.text;
    row.action = mainThread.weakly(std::move(action));
    row.children = {std::move(label), view::spacer()};
    return menuRowStyle(std::move(row), binding(isHovering));
}

ViewNode QuoxelinMenuBarContent::row(const std::string& label, Published<bool>& isHovering,
                                     Action action) {
    return row(view::text(label, Font::callout), isHovering, std::move(action));
}

Binding<bool> QuoxelinMenuBarContent::binding(Published<bool>& flag) {
    return {[&flag] { return flag.get(); },
            mainThread.weakly([&flag](bool isHovering) { flag = isHovering; })};
}

} // namespace quoxelin
