#include "Simulation/Daemon/DaemonModel.h"

#include <boost/json.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

constexpr std::string_view version = "1.42.0-sim";
constexpr std::array<std::string_view, 5> stateNames{"NoState", "NeedsLogin", "Stopped", "Starting",
                                                     "Running"};

} // namespace

std::string_view nameOf(BackendState state) {
    return stateNames[static_cast<std::size_t>(state)];
}

std::optional<BackendState> backendStateNamed(std::string_view name) {
    const auto found = std::find(stateNames.begin(), stateNames.end(), name);
    if (found == stateNames.end()) {
        return std::nullopt;
    }
    return static_cast<BackendState>(found - stateNames.begin());
}

DaemonModel::DaemonModel(Settings settingsToUse, Outside outsideToUse)
    : settings(settingsToUse), outside(std::move(outsideToUse)), known(firstAccounts()),
      current(known.front().id) {
    if (settings.loggedIn) {
        for (Account& account : known) {
            account.authenticated = true;
            account.wantRunning = true;
        }
        backendState = BackendState::running;
        networkMapIsNews = false;
    }
}

Account* DaemonModel::currentAccount() {
    const auto found =
        std::find_if(known.begin(), known.end(), [&](const Account& a) { return a.id == current; });
    return found == known.end() ? nullptr : &*found;
}

const Account* DaemonModel::currentAccount() const {
    return const_cast<DaemonModel*>(this)->currentAccount();
}

bool DaemonModel::hasNode() const {
    const Account* account = currentAccount();
    return account && account->authenticated;
}

json::object DaemonModel::status() const {
    json::object reply{{"version", version},
                       {"backend_state", nameOf(backendState)},
                       {"interactive_login_url", pendingLoginUrl().value_or("")},
                       {"jailed", jailed},
                       {"jail_reason", jailReason.value_or("")}};
    json::array addresses;
    if (hasNode()) {
        const Account& account = *currentAccount();
        for (const std::string& address : ownAddresses(account)) {
            addresses.emplace_back(address);
        }
        reply["self"] = {
            {"id", account.nodeId}, {"host_name", account.nodeName()}, {"quoxelin_ips", addresses}};
    }
    reply["quoxelin_ips"] = std::move(addresses);
    return reply;
}

json::object DaemonModel::profiles() const {
    json::array list;
    for (const Account& account : known) {
        json::object profile{{"id", account.id}, {"name", account.name}};
        profile["node_id"] = account.authenticated ? json::value(account.nodeId) : json::value();
        if (!account.email.empty()) {
            profile["user_email"] = account.email;
        }
        profile["is_current"] = account.id == current;
        list.push_back(std::move(profile));
    }
    return {{"current_profile_id", current}, {"profiles", std::move(list)}};
}

json::object DaemonModel::preferences() const {
    const Account* account = currentAccount();
    return {{"WantRunning", account && account->wantRunning}, {"LoggedOut", !hasNode()}};
}

bool DaemonModel::switchProfile(std::string_view id) {
    const bool exists =
        std::any_of(known.begin(), known.end(), [&](const Account& a) { return a.id == id; });
    if (exists && id != current) {
        current = id;
        enterProfile();
    }
    return exists;
}

void DaemonModel::switchToEmptyProfile() {
    current.clear();
    enterProfile();
}

void DaemonModel::enterProfile() {
    login.reset();
    networkMapIsNews = true;
    json::object changes;
    liftJail(changes);
    settle(std::move(changes));
}

void DaemonModel::settle(json::object changes) {
    ++transition;
    const Account* account = currentAccount();
    if (account && account->authenticated && account->wantRunning) {
        enterStarting(std::move(changes));
        return;
    }
    backendState = hasNode() ? BackendState::stopped : BackendState::needsLogin;
    changes["State"] = nameOf(backendState);
    announce(std::move(changes));
}

void DaemonModel::enterStarting(json::object changes) {
    backendState = BackendState::starting;
    changes["State"] = nameOf(backendState);
    // The map follows with Running: a node that starts has not heard from the conductor yet.
    outside.announce(line(changes, false));
    outside.after(settings.startingTime, [this, started = transition] {
        if (started == transition) {
            backendState = BackendState::running;
            announce({{"State", nameOf(backendState)}});
        }
    });
}

std::string DaemonModel::beginLogin() {
    if (hasNode()) {
        return {};
    }
    if (!login) {
        ++loginsBegun;
        login = fmt::format("{:016x}", loginsBegun * 0x9E3779B97F4A7C15u);
        outside.announce(line({{"InteractiveLoginUrl", *pendingLoginUrl()}}, false));
        if (settings.autoLogin) {
            outside.after(*settings.autoLogin, [this, begun = *login] {
                if (login == begun) {
                    completeLogin();
                }
            });
        }
    }
    return *pendingLoginUrl();
}

std::optional<std::string> DaemonModel::completeLogin() {
    if (hasNode()) {
        return std::nullopt;
    }
    beginLogin();
    if (!currentAccount()) {
        known.push_back(newAccount(accountsCreated++));
        current = known.back().id;
    }
    Account& account = *currentAccount();
    account.authenticated = true;
    account.wantRunning = true;
    networkMapIsNews = true;
    const std::string callback = fmt::format("quoxelin://login/callback?token={}", *login);
    login.reset();
    settle({});
    outside.loggedIn(callback);
    return callback;
}

void DaemonModel::setWantRunning(bool wantRunning) {
    Account* account = currentAccount();
    if (!account || account->wantRunning == wantRunning) {
        return;
    }
    account->wantRunning = wantRunning;
    if (account->authenticated) {
        settle({});
    }
}

void DaemonModel::logOut() {
    if (Account* account = currentAccount()) {
        account->authenticated = false;
        account->wantRunning = false;
    }
    enterProfile();
}

std::string DaemonModel::greeting() {
    json::object members{{"Version", version}, {"State", nameOf(backendState)}, {"Jailed", jailed}};
    if (jailReason) {
        members["JailReason"] = *jailReason;
    }
    if (const auto url = pendingLoginUrl()) {
        members["InteractiveLoginUrl"] = *url;
    }
    return line(members, hasNode());
}

void DaemonModel::setLoginPageAddress(std::string address) {
    loginPageAddress = std::move(address);
}

std::optional<std::string> DaemonModel::pendingLogin() const {
    return login;
}

std::optional<std::string> DaemonModel::pendingLoginUrl() const {
    return login ? std::optional(loginPageAddress + "/login/" + *login) : std::nullopt;
}

std::string DaemonModel::pendingPerson() const {
    const Account* account = currentAccount();
    const Account person = account ? *account : newAccount(accountsCreated);
    return fmt::format("{} ({})", person.displayName, person.email);
}

void DaemonModel::jail(std::optional<std::string> reason) {
    jailed = true;
    jailReason = std::move(reason);
    json::object changes{{"Jailed", true}};
    if (jailReason) {
        changes["JailReason"] = *jailReason;
    }
    outside.announce(line(changes, false));
}

void DaemonModel::unjail() {
    jailed = false;
    jailReason.reset();
    outside.announce(line({{"Jailed", false}}, false));
}

void DaemonModel::liftJail(json::object& changes) {
    if (jailed) {
        jailed = false;
        jailReason.reset();
        changes["Jailed"] = false;
    }
}

void DaemonModel::setBackendState(BackendState state) {
    ++transition;
    backendState = state;
    announce({{"State", nameOf(state)}});
}

void DaemonModel::setPeerCount(std::size_t count) {
    settings.peers = count;
    networkMapIsNews = true;
    if (hasNode()) {
        announce({});
    }
}

void DaemonModel::setStartingTime(std::chrono::milliseconds time) {
    settings.startingTime = time;
}

void DaemonModel::setAccounts(std::vector<Account> accounts, std::string_view currentId) {
    known = std::move(accounts);
    current = currentId;
    if (!currentAccount()) {
        current.clear();
    }
    enterProfile();
}

void DaemonModel::announce(json::object changes) {
    const bool withMap = hasNode() && networkMapIsNews;
    networkMapIsNews = networkMapIsNews && !withMap;
    outside.announce(line(changes, withMap));
}

std::string DaemonModel::line(const json::object& members, bool withNetworkMap) {
    std::string text = json::serialize(members);
    if (withNetworkMap) {
        text.pop_back();
        text += members.empty() ? R"("NetMap":)" : R"(,"NetMap":)";
        text += networkMap.text(*currentAccount(), settings.peers);
        text += '}';
    }
    return text;
}

} // namespace quoxelin::sim
