#pragma once

#include "Tests/Support/Surroundings.h"

#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// The application without its shell: the store with all real services under it, on a whole
/// simulated machine. The daemon answers every request as one on which nobody is logged in; the
/// machine has no tunnel configuration, and the extension is not approved.
///
/// Steer the daemon and the system directly; what happened is read back as plain texts:
///
///     AppFixture app;
///     app.startAndForget();
///     app.bus(R"({"State":"NeedsLogin"})");
///     EXPECT_EQ(app.stateLines(), std::vector<std::string>{"Received HashiBus state:
///     needsLogin"});
struct AppFixture : Surroundings {
    AppFixture();
    ~AppFixture();

    // What goes on

    /// All that can happen at this instant happens.
    void run() { dispatch.runUntilIdle(); }
    void advance(Duration span) { dispatch.advance(span); }

    /// The store follows the daemon, and the log and the requests are as empty as before.
    void startAndForget();

    /// The daemon sends the line on its stream, and all that follows at once happens.
    void bus(const std::string& json);

    /// From now on the daemon answers so when it is asked for its profiles or its status.
    void answerProfiles(const std::string& body, int status = 200);
    void answerStatus(const std::string& body, int status = 200);

    // What happened since the beginning, or since it was forgotten

    void forget();

    /// The messages that were logged with that tag, in order.
    std::vector<std::string> lines(const std::string& tag) const;
    std::vector<std::string> stateLines() const { return lines("State"); }

    /// The same with the seconds since the test began: "2.000 VPN connection retry 1/3".
    std::vector<std::string> timedStateLines() const;

    /// How often the store logged the message.
    int count(const std::string& message) const;

    /// "POST /localapi/v0/login", and where there is a body, a blank and the body.
    std::vector<std::string> requests() const;
    std::vector<std::string> timedRequests() const;
    int countRequests(const std::string& request) const;

    /// What the system was asked to do with the tunnel: "2.000 start", "4.000 stop".
    std::vector<std::string> tunnelCommands() const { return commands; }

    /// The request that tells the daemon whether to run.
    static std::string wantRunningRequest(bool wantRunning);

  private:
    struct Logged {
        Duration instant;
        std::string text;
    };
    std::vector<Logged> logged;
    std::vector<std::string> commands;
};

} // namespace quoxelin::testing
