#include "Tests/Support/StoreWatch.h"

#include <gtest/gtest.h>
#include <string_view>
#include <utility>

namespace quoxelin::testing {

StoreWatch::StoreWatch(AppFixture& app) : app(app) {
    app.system.systemLog.onEntry = [this](const SimulatedSystemLog::Entry& entry) {
        heard(entry.text);
    };
    app.system.networkExtension.onRequest = [this](const std::string& request) { asked(request); };
    subscription =
        app.appState->login.subscribe([this](const LoginViewState& login) { published(login); });
}

StoreWatch::~StoreWatch() {
    app.system.systemLog.onEntry = nullptr;
    app.system.networkExtension.onRequest = nullptr;
}

void StoreWatch::stepEnds(bool daemonWasReachable) {
    std::vector<std::string> requests;
    for (const auto& request : app.requests()) {
        if (request.starts_with("PATCH "))
            requests.push_back(request);
    }
    if (daemonWasReachable)
        EXPECT_EQ(requests, switches);
    else
        EXPECT_TRUE(requests.empty());
    switches.clear();
    EXPECT_FALSE(stopIsDue);
    EXPECT_EQ(app.system.userNotificationCenter.requests().size(), jailings);
}

void StoreWatch::heard(const std::string& line) {
    constexpr std::string_view ofState = "[State] ";
    constexpr std::string_view ofTunnel = "[VPN] ";
    if (line.starts_with(ofState)) {
        EXPECT_FALSE(hasGone) << line;
        heardOfState(line.substr(ofState.size()));
    } else if (line.starts_with(ofTunnel)) {
        heardOfTunnel(line.substr(ofTunnel.size()));
    }
}

void StoreWatch::heardOfState(const std::string& message) {
    constexpr std::string_view retry = "VPN connection retry ";
    if (message == "connect") {
        wantedBefore = std::exchange(wantsTunnel, true);
        lastOfChain = app.dispatch.now();
        nextChecks = {"1/3", "2/3", "3/3", "given up"};
        switches.push_back(AppFixture::wantRunningRequest(true));
    } else if (message == "System Extension not approved, skipping VPN tunnel start") {
        wantsTunnel = wantedBefore;
    } else if (message == "disconnect") {
        wantsTunnel = false;
        startIsPending = false;
        stopIsDue = true;
        switches.push_back(AppFixture::wantRunningRequest(false));
    } else if (message == "logout called") {
        isLoggingOut = true;
        mayRepeat = true;
    } else if (message == "Received HashiBus state: needsLogin") {
        isLoggingOut = false;
    } else if (message.starts_with(retry)) {
        ++retriesSeen;
        checkFoundItDown(message.substr(retry.size()));
    } else if (message == "VPN connection failed after 3 retries") {
        ++failuresSeen;
        checkFoundItDown("given up");
    } else if (message.starts_with("node jailed: ")) {
        ++jailings;
    }
}

void StoreWatch::heardOfTunnel(const std::string& message) {
    const bool starting = message.starts_with("Starting VPN tunnel");
    const bool skipping = message.starts_with("Already connected or connecting");
    if (starting || skipping)
        starts.insert(app.dispatch.now());
    if (skipping || message == "Tunnel start initiated successfully")
        startIsPending = false;
}

/// Two pending checks would come within 2 seconds. A connect that is overtaken while its
/// configuration is being saved may start and check once more after the other's tunnel has been
/// given up.
void StoreWatch::checkFoundItDown(const std::string& which) {
    const auto now = app.dispatch.now();
    EXPECT_TRUE(wantsTunnel) << which;
    EXPECT_GE(now - lastOfChain, seconds(2)) << which;
    EXPECT_EQ(starts.count(now - seconds(2)), 1u) << which;
    EXPECT_EQ(nextChecks.front(), which);
    if (nextChecks.size() > 1)
        nextChecks.pop_front();
    lastOfChain = now;
    starts.erase(starts.begin(), starts.upper_bound(now - seconds(2)));
}

void StoreWatch::asked(const std::string& request) {
    if (request == "stop") {
        EXPECT_FALSE(wantsTunnel || hasGone);
        stopIsDue = false;
    } else if (request == "start") {
        // The tunnel service repeats a refused start when the configuration changes, which is how a
        // later permission appears.
        EXPECT_TRUE((wantsTunnel && !hasGone) || startIsPending);
        startIsPending = true;
    }
}

void StoreWatch::published(const LoginViewState& login) {
    EXPECT_TRUE(login != shown || mayRepeat);
    mayRepeat = false;
    shown = login;
    if (!isLoggingOut)
        return;
    EXPECT_FALSE(login.isLoggedIn);
    EXPECT_EQ(login.nodeID, 0);
    EXPECT_EQ(login.hostName + login.quoxelinIPs, "");
    EXPECT_EQ(login.jailedReason, std::nullopt);
    // The list of accounts may name another one; only the bus names this one.
    EXPECT_NE(login.email, onlyOnTheBus);
    EXPECT_NE(login.userName, onlyOnTheBus);
}

} // namespace quoxelin::testing
