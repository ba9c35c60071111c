#pragma once

#include "Base/Dispatch.h"
#include "Base/Json.h"
#include "Simulation/Daemon/Account.h"
#include "Simulation/Daemon/NetworkMap.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::sim {

/// The daemon's backend state, in the order of its ordinals.
enum class BackendState { noState, needsLogin, stopped, starting, running };

/// The states with their names on the wire, such as "NeedsLogin".
const std::vector<std::pair<const char*, BackendState>>& backendStates();
const char* nameOf(BackendState state);

/// The state of the simulated daemon: profiles, login, backend state, jail, network map.
///
/// It has no socket and no clock. Each change is announced as one notification line (without line
/// feed) that holds only the change. One thread.
class DaemonModel {
  public:
    struct Settings {
        std::size_t peers = 5;
        /// Start with both profiles logged in and the first one running.
        bool loggedIn = false;
        /// A login completes by itself after this time.
        std::optional<Duration> autoLogin;
        /// The time from Starting to Running.
        Duration startingTime = seconds(0.15);
    };

    /// The functions that the model calls.
    struct Outside {
        /// Sends a notification line to every observer of the bus.
        std::function<void(std::string line)> announce;
        /// Runs `work` once after `delay`.
        std::function<void(Duration delay, Work work)> after;
        /// A login was completed, with the URL that calls back into the application.
        std::function<void(const std::string& callback)> loggedIn;
    };

    DaemonModel(Settings settings, Outside outside);

    // For the local API

    json::Object status() const;
    json::Object profiles() const;
    json::Object preferences() const;
    /// False, without a change, if there is no such profile.
    bool switchProfile(std::string_view id);
    void switchToEmptyProfile();
    /// Starts an interactive login or continues the one in progress. Returns the URL to visit,
    /// empty if the current profile is already logged in.
    std::string beginLogin();
    void setWantRunning(bool wantRunning);
    void logOut();

    /// The first line for a new observer of the bus: the whole state, with the network map if there
    /// is one.
    std::string greeting();

    // For the login page

    /// The page's address, such as "http://127.0.0.1:40123". Login URLs start with it.
    void setLoginPageAddress(std::string address);
    /// The URL of the pending login; empty if there is none.
    std::optional<std::string> pendingLoginUrl() const;
    /// The name and e-mail address of the user who would be logged in.
    std::string pendingPerson() const;

    // For commands

    /// Completes the login, starting one first if necessary, and returns the callback URL with its
    /// token. Empty, without a change, if the current profile is already logged in.
    std::optional<std::string> completeLogin();
    void jail(std::optional<std::string> reason);
    void unjail();
    /// Enters the state directly and cancels a pending transition.
    void setBackendState(BackendState state);
    void setPeerCount(std::size_t count);
    /// Replaces all profiles. The one with `currentId`, if any, becomes current.
    void setAccounts(std::vector<Account> accounts, std::string_view currentId);

    BackendState state() const { return backendState; }
    std::size_t peerCount() const { return settings.peers; }
    const std::vector<Account>& accounts() const { return known; }
    const std::string& currentId() const { return current; }

  private:
    Account* currentAccount();
    const Account* currentAccount() const;
    bool hasNode() const;
    void enterProfile();
    void settle(json::Object changes);
    void enterStarting(json::Object changes);
    void announce(json::Object changes);
    std::string line(const json::Object& members, bool withNetworkMap);
    json::Object liftJail();

    Settings settings;
    Outside outside;
    NetworkMap networkMap;
    std::vector<Account> known;
    /// Empty for the empty profile.
    std::string current;
    BackendState backendState = BackendState::needsLogin;
    bool jailed = false;
    std::optional<std::string> jailReason;
    std::string loginPageAddress;
    /// The secret of the pending login.
    std::optional<std::string> login;
    std::size_t loginsBegun = 0;
    std::size_t accountsCreated = 0;
    /// Delayed transitions with an older number are canceled.
    std::uint64_t transition = 0;
    /// Whether observers still need the current map.
    bool networkMapIsNews = true;
};

} // namespace quoxelin::sim
