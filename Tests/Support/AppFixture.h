#pragma once

#include "Tests/Support/Surroundings.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// The application without its shell: the store with its real services on a simulated machine. At
/// first the daemon has no profile, there is no tunnel configuration, and the extension is not
/// approved.
///
/// Control the daemon and the system directly, and read back what happened as plain text:
///
///     startAndForget();
///     bus(R"({"State":"NeedsLogin"})");
///     EXPECT_EQ(stateLines(), Lines{"Received HashiBus state: needsLogin"});
struct AppFixture : Surroundings {
    using Lines = std::vector<std::string>;

    AppFixture();
    ~AppFixture();

    // What happens

    /// Runs everything that is due now.
    void run() { dispatch.runUntilIdle(); }
    void advance(Duration span) { dispatch.advance(span); }

    /// Starts the store and clears the log and the requests.
    void startAndForget();

    /// Sends the line on the daemon's stream and runs its immediate effects.
    void bus(const std::string& json);

    /// Sets the daemon's answers for its profiles or its status.
    void answerProfiles(const std::string& body, int status = 200);
    void answerStatus(const std::string& body, int status = 200);

    /// Saves the tunnel's configuration, or has the system refuse every start of it.
    void addTunnelConfiguration();
    void refuseTunnelStarts();

    /// Calls the function each time a line that begins so is logged: "[App] Helper is ready".
    void whenLogged(const std::string& beginning, std::function<void()> function) {
        watched.emplace_back(beginning, std::move(function));
    }

    // What happened since the start or the last `forget`

    void forget();

    /// The logged messages with that tag, in order.
    std::vector<std::string> lines(const std::string& tag) const;
    std::vector<std::string> stateLines() const { return lines("State"); }

    /// The same with the seconds since the start of the test: "2.000 VPN connection retry 1/3".
    std::vector<std::string> timedLines(const std::string& tag) const;
    std::vector<std::string> timedStateLines() const { return timedLines("State"); }

    /// Those of the beginnings that lines of the whole log have, in the order of the log.
    std::vector<std::string> logged(const std::vector<std::string>& beginnings) const;

    /// How often the message was logged with that tag.
    long count(const std::string& tag, const std::string& message) const;
    long count(const std::string& message) const { return count("State", message); }

    /// "POST /localapi/v0/login", followed by a space and the body if there is one.
    std::vector<std::string> requests() const;
    std::vector<std::string> timedRequests() const;
    int countRequests(const std::string& request) const;

    /// The commands to the tunnel: "2.000 start", "4.000 stop".
    std::vector<std::string> tunnelCommands() const { return commands; }

    /// The request that turns the daemon on or off.
    static std::string wantRunningRequest(bool wantRunning);

  private:
    struct Logged {
        Duration instant;
        std::string text;
    };
    std::vector<Logged> entries;
    std::vector<std::pair<std::string, std::function<void()>>> watched;
    std::vector<std::string> commands;
};

class AppTest : public ::testing::Test, protected AppFixture {
  protected:
    using AppFixture::Lines;
};

} // namespace quoxelin::testing
