#include "Simulation/Daemon/DaemonModel.h"

#include <algorithm>
#include <fmt/format.h>

namespace quoxelin::sim {

namespace {

constexpr std::string_view version = "1.42.0-sim";

} // namespace

const std::vector<std::pair<const char*, BackendState>>& backendStates() {
    static const std::vector<std::pair<const char*, BackendState>> states = {
        {"NoState", BackendState::noState},
        {"NeedsLogin", BackendState::needsLogin},
        {"Stopped", BackendState::stopped},
        {"Starting", BackendState::starting},
        {"Running", BackendState::running}};
    return states;
}

const char* nameOf(BackendState state) {
    return backendStates()[static_cast<std::size_t>(state)].first;
}

DaemonModel::DaemonModel(Settings settings, Outside outside)
    : settings(settings), outside(std::move(outside)), known(firstAccounts()),
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

json::Object DaemonModel::status() const {
    json::Object reply{{"version", version},
                       {"backend_state", nameOf(backendState)},
                       {"interactive_login_url", pendingLoginUrl().value_or("")},
                       {"jailed", jailed},
                       {"jail_reason", jailReason.value_or("")}};
    json::Array addresses;
    if (hasNode()) {
        const Account& account = *currentAccount();
        for (const std::string& address : ownAddresses(account))
            addresses.emplace_back(address);
        reply.push_back({"self", json::Object{{"id", account.nodeId},
                                              {"host_name", account.nodeName()},
                                              {"quoxelin_ips", addresses}}});
    }
    reply.push_back({"quoxelin_ips", std::move(addresses)});
    return reply;
}

json::Object DaemonModel::profiles() const {
    json::Array list;
    for (const Account& account : known) {
        json::Object profile{{"id", account.id}, {"name", account.name}};
        profile.push_back(
            {"node_id", account.authenticated ? json::Value(account.nodeId) : json::Value()});
        if (!account.email.empty())
            profile.push_back({"user_email", account.email});
        profile.push_back({"is_current", account.id == current});
        list.push_back(std::move(profile));
    }
    return {{"current_profile_id", current}, {"profiles", std::move(list)}};
}

json::Object DaemonModel::preferences() const {
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
    settle(jailed ? liftJail() : json::Object());
}

void DaemonModel::settle(json::Object changes) {
    ++transition;
    const Account* account = currentAccount();
    if (account && account->authenticated && account->wantRunning) {
        enterStarting(std::move(changes));
        return;
    }
    backendState = hasNode() ? BackendState::stopped : BackendState::needsLogin;
    changes.push_back({"State", nameOf(backendState)});
    announce(std::move(changes));
}

void DaemonModel::enterStarting(json::Object changes) {
    backendState = BackendState::starting;
    changes.push_back({"State", nameOf(backendState)});
    // The map follows with Running, because a starting node has not heard from the conductor yet.
    outside.announce(line(changes, false));
    outside.after(settings.startingTime, [this, started = transition] {
        if (started == transition) {
            backendState = BackendState::running;
            announce({{"State", nameOf(backendState)}});
        }
    });
}

std::string DaemonModel::beginLogin() {
    if (hasNode())
        return {};
    if (!login) {
        ++loginsBegun;
        login = fmt::format("{:016x}", loginsBegun * 0x9E3779B97F4A7C15u);
        outside.announce(line({{"InteractiveLoginUrl", *pendingLoginUrl()}}, false));
        if (settings.autoLogin) {
            outside.after(*settings.autoLogin, [this, begun = *login] {
                if (login == begun)
                    completeLogin();
            });
        }
    }
    return *pendingLoginUrl();
}

std::optional<std::string> DaemonModel::completeLogin() {
    if (hasNode())
        return std::nullopt;
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
    if (!account || account->wantRunning == wantRunning)
        return;
    account->wantRunning = wantRunning;
    if (account->authenticated)
        settle({});
}

void DaemonModel::logOut() {
    if (Account* account = currentAccount()) {
        account->authenticated = false;
        account->wantRunning = false;
    }
    enterProfile();
}

std::string DaemonModel::greeting() {
    json::Object members{{"Version", version}, {"State", nameOf(backendState)}, {"Jailed", jailed}};
    if (jailReason)
        members.push_back({"JailReason", *jailReason});
    if (const auto url = pendingLoginUrl())
        members.push_back({"InteractiveLoginUrl", *url});
    return line(members, hasNode());
}

void DaemonModel::setLoginPageAddress(std::string address) {
    loginPageAddress = std::move(address);
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
    json::Object changes{{"Jailed", true}};
    if (jailReason)
        changes.push_back({"JailReason", *jailReason});
    outside.announce(line(changes, false));
}

void DaemonModel::unjail() {
    outside.announce(line(liftJail(), false));
}

json::Object DaemonModel::liftJail() {
    jailed = false;
    jailReason.reset();
    return {{"Jailed", false}};
}

void DaemonModel::setBackendState(BackendState state) {
    ++transition;
    backendState = state;
    announce({{"State", nameOf(state)}});
}

void DaemonModel::setPeerCount(std::size_t count) {
    settings.peers = count;
    networkMapIsNews = true;
    if (hasNode())
        announce({});
}

void DaemonModel::setAccounts(std::vector<Account> accounts, std::string_view currentId) {
    known = std::move(accounts);
    current = currentId;
    if (!currentAccount())
        current.clear();
    enterProfile();
}

void DaemonModel::announce(json::Object changes) {
    const bool withMap = hasNode() && networkMapIsNews;
    networkMapIsNews = networkMapIsNews && !withMap;
    outside.announce(line(changes, withMap));
}

std::string DaemonModel::line(const json::Object& members, bool withNetworkMap) {
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
