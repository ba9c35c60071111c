#pragma once

#include "Tests/Support/AppFixture.h"

#include <deque>
#include <set>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// Follows what the application logs, publishes and requests, and fails the test for anything it
/// must never do:
///
/// - show an account during a logout, or publish an unchanged login;
/// - start the tunnel after a disconnect, stop it after a connect, or stop it without a disconnect;
/// - have two pending checks of the tunnel, check other than 2 seconds after a start, or check out
/// of order;
/// - switch the daemon too often, too rarely or out of order;
/// - notify of a jailing other than once, or report anything after the store is gone.
///
/// It uses the fixture's hooks, so the fixture's lists of lines and commands stay empty.
class StoreWatch {
  public:
    /// The e-mail address in the bus's user profiles. No status and no list of accounts may contain
    /// it.
    static constexpr const char* onlyOnTheBus = "one@example.com";

    explicit StoreWatch(AppFixture& app);
    ~StoreWatch();
    StoreWatch(const StoreWatch&) = delete;
    StoreWatch& operator=(const StoreWatch&) = delete;

    /// The user starts a login, which ends the logout before it.
    void loginBegins() { isLoggingOut = false; }

    /// Checks the daemon's requests; clear them afterward. The daemon was reachable during the
    /// whole step or not at all.
    void stepEnds(bool daemonWasReachable);

    /// From now on the store must not report anything.
    void storeGoes() { hasGone = true; }

    /// Whether the user last asked to connect, and could.
    bool isTunnelWanted() const { return wantsTunnel; }

    /// How many checks found the tunnel down, and how often the store gave up.
    int retries() const { return retriesSeen; }
    int failures() const { return failuresSeen; }

  private:
    void heard(const std::string& line);
    void heardOfState(const std::string& message);
    void heardOfTunnel(const std::string& message);
    void checkFoundItDown(const std::string& which);
    void asked(const std::string& request);
    void published(const LoginViewState& login);

    AppFixture& app;
    Subscription subscription;
    bool hasGone = false;

    LoginViewState shown;
    bool isLoggingOut = false;
    /// A logout always publishes the empty login.
    bool mayRepeat = true;

    bool wantsTunnel = false;
    bool wantedBefore = false;
    bool stopIsDue = false;
    /// The system refused a start, and the tunnel service is waiting to repeat it.
    bool startIsPending = false;
    std::set<Duration> starts;
    Duration lastOfChain{0};
    std::deque<std::string> nextChecks = {"no check before a connect"};
    int retriesSeen = 0;
    int failuresSeen = 0;

    std::vector<std::string> switches;
    std::size_t jailings = 0;
};

} // namespace quoxelin::testing
