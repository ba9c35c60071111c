#pragma once

#include "Tests/Support/AppFixture.h"

#include <deque>
#include <set>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// Follows what the application says, publishes and asks for, and fails the test when that is
/// something it must never do, whatever user, daemon and system do:
///
/// - an account that shows while it is being logged out, a login that is published unchanged;
/// - a start of the tunnel after a disconnect, a stop after a connect, or a disconnect without one;
/// - two pending checks of the tunnel, a check at another time than 2 seconds after a start, or
///   checks out of their order;
/// - a switch of the daemon that is missing, needless or out of order;
/// - a jailing without its one notification, or a word of a store that has gone.
///
/// It takes over the fixture's hooks; the fixture's own lists of lines and commands stay empty.
class StoreWatch {
  public:
    /// The e-mail address of the bus's own user profiles. No status and no list of accounts may
    /// name it.
    static constexpr const char* onlyOnTheBus = "one@example.com";

    explicit StoreWatch(AppFixture& app);
    ~StoreWatch();
    StoreWatch(const StoreWatch&) = delete;
    StoreWatch& operator=(const StoreWatch&) = delete;

    /// The person asks for a new login: the log-out before it is over for them.
    void loginBegins() { isLoggingOut = false; }

    /// Compares the daemon's requests, which are then to be forgotten. The daemon took requests
    /// during all of the step, or during none of it.
    void stepEnds(bool daemonWasReachable);

    /// From now on nothing may be heard of the store.
    void storeGoes() { hasGone = true; }

    /// Whether connecting was asked for last, and was possible, and not disconnecting.
    bool isTunnelWanted() const { return wantsTunnel; }

    /// How many checks found the tunnel down, and how often it was given up.
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
    /// A log-out publishes the empty login in any case.
    bool mayRepeat = true;

    bool wantsTunnel = false;
    bool wantedBefore = false;
    bool stopIsDue = false;
    /// The system refused a start, and the tunnel service waits to make it again.
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
