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

/// The states with the names under which they travel, such as "NeedsLogin".
const std::vector<std::pair<const char*, BackendState>>& backendStates();
const char* nameOf(BackendState state);

/// What the simulated daemon knows and how it changes: profiles, login, backend state, jail,
/// network map.
///
/// It holds no socket and no clock. Each change is announced as one sparse notification line (no
/// line feed); delayed transitions run when the outside calls them back. One thread.
class DaemonModel {
  public:
    struct Settings {
        std::size_t peers = 5;
        /// Begin with both profiles logged in and the first one running.
        bool loggedIn = false;
        /// A begun login completes itself after this.
        std::optional<Duration> autoLogin;
        /// From Starting to Running.
        Duration startingTime = seconds(0.15);
    };

    /// The few outside calls the model makes.
    struct Outside {
        /// A notification line for every observer of the bus.
        std::function<void(std::string line)> announce;
        /// Runs `work` once after `delay`.
        std::function<void(Duration delay, Work work)> after;
        /// A login was completed, with the URL that calls back into the application.
        std::function<void(const std::string& callback)> loggedIn;
    };

    DaemonModel(Settings settings, Outside outside);

    // What the local API asks.

    json::Object status() const;
    json::Object profiles() const;
    json::Object preferences() const;
    /// False, and no change, when there is no such profile.
    bool switchProfile(std::string_view id);
    void switchToEmptyProfile();
    /// Starts an interactive login or continues the one in progress. Returns the URL to visit,
    /// empty if the current profile is already logged in.
    std::string beginLogin();
    void setWantRunning(bool wantRunning);
    void logOut();

    /// What a new observer of the bus gets first: the whole state, with the network map when there
    /// is one.
    std::string greeting();

    // What the login page asks.

    /// Where the page lives, such as "http://127.0.0.1:40123"; login URLs begin with it.
    void setLoginPageAddress(std::string address);
    /// The secret in the URL of the login that waits for its completion; absent when none does.
    std::optional<std::string> pendingLogin() const;
    /// The URL of that login; absent when none waits.
    std::optional<std::string> pendingLoginUrl() const;
    /// Name and e-mail of who would be logged in.
    std::string pendingPerson() const;

    // What steering asks.

    /// Completes the login, beginning one first when none waits, and answers the callback URL with
    /// its token. Absent, and no change, when the current profile is logged in already.
    std::optional<std::string> completeLogin();
    void jail(std::optional<std::string> reason);
    void unjail();
    /// Puts the daemon in a state, whatever led there; a pending transition is called off.
    void setBackendState(BackendState state);
    void setPeerCount(std::size_t count);
    /// Replaces all profiles. The one with `currentId` becomes current, none when there is no such.
    void setAccounts(std::vector<Account> accounts, std::string_view currentId);

    BackendState state() const { return backendState; }
    std::size_t peerCount() const { return settings.peers; }
    const std::vector<Account>& accounts() const { return known; }
    const std::string& currentId() const { return current; }
    bool isJailed() const { return jailed; }

  private:
    Account* currentAccount();
    const Account* currentAccount() const;
    bool hasNode() const;
    void enterProfile();
    void settle(json::Object changes);
    void enterStarting(json::Object changes);
    void announce(json::Object changes);
    std::string line(const json::Object& members, bool withNetworkMap);
    void liftJail(json::Object& changes);

    Settings settings;
    Outside outside;
    NetworkMap networkMap;
    std::vector<Account> known;
    /// Empty on the empty profile.
    std::string current;
    BackendState backendState = BackendState::needsLogin;
    bool jailed = false;
    std::optional<std::string> jailReason;
    std::string loginPageAddress;
    /// The secret of the pending login.
    std::optional<std::string> login;
    std::size_t loginsBegun = 0;
    std::size_t accountsCreated = 0;
    /// A delayed transition of an older number has been called off.
    std::uint64_t transition = 0;
    /// Observers have not been sent the present map.
    bool networkMapIsNews = true;
};

} // namespace quoxelin::sim
