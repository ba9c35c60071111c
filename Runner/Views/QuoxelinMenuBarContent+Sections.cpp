#include "Base/Trim.h"
#include "Platform/Foundation.h"
#include "Platform/NSApplication.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/ViewModels/UpdaterViewModel.h"
#include "Runner/Views/MenuRowStyle.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"
#include "Runner/Views/ShownText.h"
#include "View/ViewBuilders.h"

namespace quoxelin {

namespace {

/// Messages and names from elsewhere may have any length.
constexpr int messageLineLimit = 8;
constexpr int nameLineLimit = 2;

/// A message from the daemon or the system.
ViewNode message(const std::string& text, Font font, double opacity = 1) {
    auto node = view::text(shownText(text), font, Color::secondary, opacity);
    node.lineLimit = messageLineLimit;
    return node;
}

/// A divider with vertical padding.
ViewNode sectionDivider() {
    return view::padded(view::divider(), {4, 0, 4, 0});
}

Color statusColor(VPNConnectionStatus status) {
    switch (status) {
    case VPNConnectionStatus::connected:
        return Color::green;
    case VPNConnectionStatus::disconnected:
        return Color::gray;
    case VPNConnectionStatus::connecting:
    case VPNConnectionStatus::disconnecting:
    case VPNConnectionStatus::error:
    case VPNConnectionStatus::unknown:
        return Color::orange;
    }
    return Color::orange;
}

std::string statusText(VPNConnectionStatus status) {
    switch (status) {
    case VPNConnectionStatus::disconnected:
        return "Disconnected";
    case VPNConnectionStatus::connected:
        return "Connected";
    case VPNConnectionStatus::connecting:
        return "Connecting...";
    case VPNConnectionStatus::disconnecting:
        return "Disconnecting...";
    case VPNConnectionStatus::error:
        return "Error";
    case VPNConnectionStatus::unknown:
        return "Unknown";
    }
    return "Unknown";
}

ViewNode explanation(const std::string& text, double top) {
    return view::padded(message(text, Font::caption), {top, menuRowInset, 6, menuRowInset});
}

} // namespace

std::vector<ViewNode> QuoxelinMenuBarContent::loggedOutSections() {
    auto login =
        view::verticalStack({row("Login Quoxelin", isHoveringLogin, [this] { startLoginFlow(); })});
    // The same as below the quit row.
    login.padding.top = 4;
    login.fillsWidth = true;
    return {
        view::keyed("login", std::move(login)),
        view::keyed("switch account divider", sectionDivider()),
        view::keyed("switch account", switchAccountButton(false)),
        view::keyed("quit divider", sectionDivider()),
        view::keyed("quit", quitButton()),
    };
}

std::vector<ViewNode> QuoxelinMenuBarContent::loggedInSections() {
    std::vector<ViewNode> sections{
        view::keyed("account", accountHeader()),
        view::keyed("status", connectionStatusLine()),
        view::keyed("connect divider", sectionDivider()),
        systemExtension->isApproved ? view::keyed("connect", connectRow())
                                    : view::keyed("system extension", systemExtensionWarning()),
        view::keyed("addresses divider", sectionDivider()),
    };
    for (auto& address : addressRows())
        sections.push_back(std::move(address));
    sections.push_back(view::keyed("identity", identityRows()));
    sections.push_back(view::keyed("updates divider", sectionDivider()));
    sections.push_back(view::keyed("updates", checkForUpdatesRow()));
    sections.push_back(view::keyed("more", moreRow()));
    sections.push_back(view::keyed("quit divider", sectionDivider()));
    sections.push_back(view::keyed("quit", quitButton()));
    return sections;
}

ViewNode QuoxelinMenuBarContent::helperApprovalSection() {
    if (!dependencies.helperGuidance.empty())
        return explanation(dependencies.helperGuidance, 8);
    const std::string label = "Enable Helper (Login Items)";
    ViewNode enable;
    enable.kind = ViewNode::Kind::row;
    enable.accessibilityLabel = label;
    enable.action = mainThread.weakly([this] { openLoginItemsSettings(); });
    enable.children = {view::text(label, Font::callout), view::spacer()};

    auto section = view::verticalStack({menuRowMetrics(std::move(enable))});
    if (const auto& error = app->helperRegistrationError.get())
        section.children.push_back(explanation(*error, 0));
    section.padding = {8, 0, 4, 0};
    section.width = 260;
    return section;
}

ViewNode QuoxelinMenuBarContent::accountHeader() {
    const LoginViewState& login = app->login;
    auto email = view::value(view::text(login.email.empty() ? "Signed in" : shownText(login.email),
                                        Font::headline, Color::secondary, quietOpacity),
                             1);
    email.padding = {8, menuRowInset, 2, menuRowInset};

    auto header = view::verticalStack({std::move(email)});
    if (login.jailedReason)
        header.children.push_back(
            view::padded(message(*login.jailedReason, Font::subheadline, quietOpacity),
                         {0, menuRowInset, 2, menuRowInset}));
    header.width = 260;
    return header;
}

std::string QuoxelinMenuBarContent::connectionState() const {
    if (!app->login->isLoggedIn)
        return {};
    return app->login->jailedReason ? "Blocked by Device Policy" : statusText(app->vpn->status);
}

ViewNode QuoxelinMenuBarContent::connectionStatusLine() {
    const bool blocked = app->login->jailedReason.has_value();
    const auto status = app->vpn->status;
    auto words = view::text(connectionState(), Font::headline, Color::secondary);
    words.announcesChanges = true;
    auto line = view::horizontalStack(
        {
            view::circle(blocked ? Color::orange : statusColor(status), 8),
            std::move(words),
        },
        6);
    line.padding = {0, menuRowInset, 4, menuRowInset};
    line.width = 260;
    return line;
}

ViewNode QuoxelinMenuBarContent::connectRow() {
    const bool connected = app->vpn->status == VPNConnectionStatus::connected;
    return row(connected ? "Disconnect" : "Connect", isHoveringConnect, [this] { toggleVpn(); });
}

ViewNode QuoxelinMenuBarContent::systemExtensionWarning() {
    const std::string title = systemExtension->needsUserApproval
                                  ? "System Extension Approval Required"
                                  : "System Extension Not Active";
    const auto guide = shownText(systemExtensionGuideText());
    auto explanation = view::verticalStack(
        {
            view::text(title, Font::callout),
            message(guide, Font::caption),
        },
        2);

    ViewNode warning;
    warning.kind = ViewNode::Kind::row;
    warning.accessibilityLabel = title;
    warning.accessibilityDescription = guide;
    warning.action = mainThread.weakly([this] { resolveSystemExtension(); });
    warning.spacing = 8;
    warning.children = {
        view::symbol("exclamationmark.triangle.fill", Font::callout, Color::orange),
        std::move(explanation),
        view::spacer(),
        view::symbol("arrow.up.forward.square", Font::callout),
    };
    return menuRowMetrics(std::move(warning));
}

std::string QuoxelinMenuBarContent::systemExtensionGuideText() const {
    const auto& error = systemExtension->lastErrorDescription.get();
    if (error && !error->empty())
        return "システム拡張を有効化できませんでした\n" + *error;
    if (!dependencies.systemExtensionGuidance.empty())
        return dependencies.systemExtensionGuidance;
    if (dependencies.processInfo.operatingSystemMajorVersion() >= 15)
        return "System Settings → General → Login Items & Extensions\n"
               "でネットワーク拡張を許可してください";
    return "System Settings → Privacy & Security\nでネットワーク拡張を許可してください";
}

std::vector<ViewNode> QuoxelinMenuBarContent::addressRows() {
    const LoginViewState& login = app->login;
    std::vector<ViewNode> rows;
    if (!login.hostName.empty()) {
        const auto label = "DNS: " + login.hostName;
        rows.push_back(view::keyed("DNS", addressRow(label, isHoveringDNS, login.hostName, label)));
    }
    const auto addresses = splitIPs(login.quoxelinIPs);
    if (addresses.ipv4)
        rows.push_back(
            view::keyed("IPv4", addressRow("Quoxelin IPv4: " + *addresses.ipv4, isHoveringIPv4,
                                           *addresses.ipv4, "Quoxelin IPv4")));
    if (addresses.ipv6)
        rows.push_back(
            view::keyed("IPv6", addressRow("Quoxelin IPv6: " + *addresses.ipv6, isHoveringIPv6,
                                           *addresses.ipv6, "Quoxelin IPv6")));
    return rows;
}

ViewNode QuoxelinMenuBarContent::addressRow(const std::string& label, Published<bool>& isHovering,
                                            const std::string& value,
                                            const std::string& copyLabel) {
    const auto shown = shownText(label);
    auto address = row(view::value(view::text(shown, Font::callout), nameLineLimit), isHovering,
                       [this, value, copyLabel] { copy(value, copyLabel); });
    address.accessibilityLabel = "Copy " + shown;
    return address;
}

QuoxelinMenuBarContent::SplitIPs QuoxelinMenuBarContent::splitIPs(std::string_view addresses) {
    SplitIPs split;
    while (!addresses.empty()) {
        const auto comma = addresses.find(',');
        const auto piece = trimmingWhitespacesAndNewlines(addresses.substr(0, comma));
        addresses.remove_prefix(comma == std::string_view::npos ? addresses.size() : comma + 1);
        const bool hasColon = piece.find(':') != std::string_view::npos;
        if (hasColon && !split.ipv6)
            split.ipv6 = piece;
        if (!hasColon && !split.ipv4 && piece.find('.') != std::string_view::npos)
            split.ipv4 = piece;
    }
    return split;
}

ViewNode QuoxelinMenuBarContent::identityRows() {
    const LoginViewState& login = app->login;
    const auto quiet = [](const std::string& text) {
        return view::text(shownText(text), Font::callout, Color::secondary, quietOpacity);
    };
    auto name = quiet("Name: " + login.userName);
    name.lineLimit = nameLineLimit;
    auto email = view::value(quiet("Email: " + login.email), nameLineLimit);
    auto identity = view::verticalStack({
        view::padded(std::move(name), {4, menuRowInset, 2, menuRowInset}),
        view::padded(std::move(email), {2, menuRowInset, 4, menuRowInset}),
    });
    identity.width = 260;
    return identity;
}

ViewNode QuoxelinMenuBarContent::checkForUpdatesRow() {
    const bool canCheck = updaterVM->canCheckForUpdates;
    const std::string label = "Check for Updates...";
    auto check = row(canCheck ? view::text(label, Font::callout)
                              : view::text(label, Font::callout, Color::secondary, quietOpacity),
                     isHoveringCheckUpdate, [this] { updaterVM->checkForUpdates(); });
    check.disabled = !canCheck;
    return check;
}

ViewNode QuoxelinMenuBarContent::moreRow() {
    auto more =
        row("More", isHoveringMore, [this] { isMorePopoverPresented = !isMorePopoverPresented; });
    more.hasPopover = true;
    if (isMorePopoverPresented)
        more.popover = morePopover();
    return more;
}

ViewNode QuoxelinMenuBarContent::switchAccountButton(bool loggedIn) {
    auto button = row("Switch Account", isHoveringSwitchAccount, [this] {
        app->refreshProfiles();
        isSwitchAccountPopoverPresented = !isSwitchAccountPopoverPresented;
    });
    button.children.push_back(view::symbol("chevron.right", Font::callout, Color::primary, 0.7));
    button.hasPopover = true;
    if (isSwitchAccountPopoverPresented)
        button.popover = switchAccountPopover(loggedIn);
    return button;
}

ViewNode QuoxelinMenuBarContent::quitButton() {
    auto quit = view::verticalStack(
        {row("Quit Quoxelin", isHoveringQuit, [this] { dependencies.application.terminate(); })});
    quit.padding.bottom = 4;
    quit.fillsWidth = true;
    return quit;
}

} // namespace quoxelin
