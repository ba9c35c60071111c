#include "Platform/Foundation.h"
#include "Runner/Models/HashiBus/ProfileInfo.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/Views/MenuRowStyle.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"
#include "Runner/Views/ShownText.h"
#include "View/ViewBuilders.h"

#include <set>

namespace quoxelin {

namespace {

constexpr const char* homePage = "https://quoxelin.com/";
constexpr const char* documentation = "https://docs.quoxelin.com/";

/// The space in front of an account's name or of "Add Account".
ViewNode leadingSymbol(std::vector<ViewNode> symbol) {
    auto place = view::horizontalStack(std::move(symbol));
    place.width = 16;
    place.alignment = Alignment::center;
    return place;
}

ViewNode popoverHeader() {
    auto header = view::text("Switch Account", Font::caption, Color::secondary);
    header.weight = FontWeight::semibold;
    header.padding = {0, menuRowInset, 0, menuRowInset};
    return header;
}

ViewNode popoverColumn(std::vector<ViewNode> children) {
    auto column = view::verticalStack(std::move(children), 4);
    column.padding = {12, 0, 12, 0};
    column.width = 260;
    return column;
}

/// An account without a name is called by its e-mail address or its id.
std::string shownName(const ProfileInfo& profile) {
    if (!profile.name.empty())
        return shownText(profile.name);
    return shownText(profile.userEmail.value_or("").empty() ? profile.id : *profile.userEmail);
}

} // namespace

std::shared_ptr<const Popover> QuoxelinMenuBarContent::switchAccountPopover(bool loggedIn) {
    const Action dismiss = mainThread.weakly([this] { isSwitchAccountPopoverPresented = false; });
    return std::make_shared<const Popover>(Popover{
        popoverColumn({
            view::keyed("header", popoverHeader()),
            view::keyed("profiles", profileList(loggedIn, dismiss)),
            view::keyed("add account divider", view::divider()),
            view::keyed("add account", addAccountRow(dismiss)),
        }),
        dismiss,
    });
}

ViewNode QuoxelinMenuBarContent::profileList(bool loggedIn, const Action& dismiss) {
    auto list = view::list({}, 4);
    list.fillsWidth = true;
    std::set<std::string> ids;
    for (const auto& profile : app->profiles.get()) {
        auto row = profileRow(profile, loggedIn, dismiss);
        // If the daemon sends an id twice, the second row is identified by its position.
        if (ids.insert(profile.id).second)
            row.key = profile.id;
        list.children.push_back(std::move(row));
    }
    return list;
}

ViewNode QuoxelinMenuBarContent::profileRow(const ProfileInfo& profile, bool loggedIn,
                                            const Action& dismiss) {
    const auto name = shownName(profile);
    ViewNode row;
    row.kind = ViewNode::Kind::row;
    row.accessibilityLabel = name + (profile.isCurrent ? ", current account" : "");
    row.spacing = 6;
    row.children.push_back(profile.isCurrent
                               ? leadingSymbol({view::symbol("checkmark", Font::callout)})
                               : leadingSymbol({}));
    auto words = view::value(view::text(name, Font::callout), 1);
    words.fillsWidth = true;
    row.children.push_back(std::move(words));
    row.action = mainThread.weakly(
        [this, id = profile.id, isCurrent = profile.isCurrent, loggedIn, dismiss] {
            if (isCurrent)
                return;
            if (loggedIn)
                app->switchProfile(id);
            else
                app->switchProfileAndLogin(id);
            dismiss();
        });
    return menuRowStyle(std::move(row),
                        {[this, id = profile.id] { return hoveringProfileId.get() == id; },
                         mainThread.weakly([this, id = profile.id](bool isHovering) {
                             // The pointer may enter the next row before it leaves this one.
                             if (isHovering)
                                 hoveringProfileId = id;
                             else if (hoveringProfileId.get() == id)
                                 hoveringProfileId = std::nullopt;
                         })});
}

ViewNode QuoxelinMenuBarContent::addAccountRow(const Action& dismiss) {
    auto add = row("Add Account", isHoveringAddAccount, [this, dismiss] {
        dismiss();
        app->addNewAccount();
    });
    add.spacing = 6;
    add.children.insert(add.children.begin(),
                        leadingSymbol({view::symbol("plus", Font::footnote)}));
    return add;
}

std::shared_ptr<const Popover> QuoxelinMenuBarContent::morePopover() {
    const Action dismiss = mainThread.weakly([this] { isMorePopoverPresented = false; });
    std::vector<ViewNode> children;
    children.push_back(view::keyed("header", popoverHeader()));
    children.push_back(view::keyed("profiles", profileList(true, dismiss)));
    children.push_back(view::keyed("logout divider", view::divider()));
    children.push_back(
        view::keyed("logout", row("Logout", isHoveringLogout, [this] { app->logout(); })));
    if (!isWhiteLabelBuild()) {
        children.push_back(view::keyed("about divider", view::divider()));
        children.push_back(
            view::keyed("about", row("About", isHoveringAbout, [this] { open(homePage); })));
        children.push_back(
            view::keyed("docs", row("Docs", isHoveringDocs, [this] { open(documentation); })));
    }
    children.push_back(view::keyed("export divider", view::divider()));
    children.push_back(
        view::keyed("export", row("Export Logs", isHoveringExportLogs, [this] { exportLogs(); })));
    children.push_back(view::keyed("uninstall divider", view::divider()));
    children.push_back(view::keyed(
        "uninstall", row(view::text("Uninstall Quoxelin", Font::callout, Color::red),
                         isHoveringUninstall, [this] { showUninstallConfirm = true; })));
    return std::make_shared<const Popover>(Popover{popoverColumn(std::move(children)), dismiss});
}

bool QuoxelinMenuBarContent::isWhiteLabelBuild() const {
    const auto conductor = dependencies.mainBundle.stringForInfoDictionaryKey("QXConductorURL");
    return conductor && !conductor->empty() && conductor->find("$(") == std::string::npos;
}

std::shared_ptr<const Alert> QuoxelinMenuBarContent::uninstallConfirmation() {
    if (!showUninstallConfirm)
        return nullptr;
    const Action uninstall = mainThread.weakly([this] {
        showUninstallConfirm = false;
        dependencies.logger.log("State", "uninstall called");
        app->uninstall();
    });
    const Action cancel = mainThread.weakly([this] { showUninstallConfirm = false; });
    return std::make_shared<const Alert>(Alert{
        "Uninstall Quoxelin",
        "This will remove all credentials, VPN settings, and logs. Administrator password is "
        "required.",
        {
            {"Uninstall", Alert::Button::Role::destructive, uninstall},
            {"Cancel", Alert::Button::Role::cancel, cancel},
        },
    });
}

} // namespace quoxelin
