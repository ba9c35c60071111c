#pragma once

#include "Tests/Support/AppFixture.h"
#include "Tests/Support/Dice.h"
#include "Tests/Support/StoreWatch.h"

#include <cerrno>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

/// A user, a daemon and a system that act at random.
class StoreWalk {
  public:
    explicit StoreWalk(Dice dice) : dice(std::move(dice)), watch(app) {
        app.addTunnelConfiguration();
        app.system.appleScript.setOutcome("User canceled.");
        app.systemExtension->isApproved = true;
        app.appState->start();
        app.run();
        watch.stepEnds(true);
        app.forget();
    }

    /// Performs one random action and describes it.
    std::string step() {
        app.forget();
        const auto kind = dice.below(100);
        const auto what = kind < 35   ? userActs()
                          : kind < 60 ? daemonSpeaks()
                          : kind < 78 ? daemonChanges()
                          : kind < 98 ? systemChanges()
                                      : everythingSettles();
        app.run();
        app.advance(dice.oneIn(20) ? dice.upTo(20) : dice.upTo(1.5));
        watch.stepEnds(isReachable);
        if (daemonIsToChange)
            becomeReachable(!isReachable);
        return what;
    }

    /// Destroys the store at any moment. After that, it must not report anything.
    void end() {
        const std::weak_ptr<AppViewState> store = app.appState;
        watch.storeGoes();
        app.appState.reset();
        EXPECT_TRUE(store.expired());
        app.advance(seconds(600));
        // Only the bus client's loop and unanswered requests may remain.
        EXPECT_LE(app.dispatch.unfinishedBackgroundWork(), 1u + neverAnswered);
    }

    bool isOver() const { return dice.areUsedUp(); }
    const StoreWatch& observed() const { return watch; }

  private:
    using Operation = SimulatedNetworkExtension::Operation;

    const std::vector<std::string> ids = {"a", "b", "c d"};
    const std::vector<std::string> endpoints = {
        "GET /localapi/v0/status",           "GET /localapi/v0/profiles",
        "POST /localapi/v0/profiles/switch", "POST /localapi/v0/profiles/switch-to-empty",
        "POST /localapi/v0/login",           "POST /localapi/v0/logout",
        "PATCH /localapi/v0/hatago",
    };
    const std::vector<std::string> states = {"NoState",  "NeedsLogin", "Stopped",
                                             "Starting", "Running",    "Elsewhere"};

    using Event = std::pair<const char*, Work>;

    std::string happens(const std::vector<Event>& events) {
        const auto& [name, happen] = dice.of(events);
        happen();
        return name;
    }

    std::string userActs() {
        auto& store = *app.appState;
        const Event connect{"connect", [&] { store.connect(); }};
        const Event disconnect{"disconnect", [&] { store.disconnect(); }};
        return happens({
            connect,
            connect,
            disconnect,
            disconnect,
            {"logout", [&] { store.logout(); }},
            {"pollForLoginCompletion",
             [&] {
                 watch.loginBegins();
                 store.pollForLoginCompletion();
             }},
            {"switchProfile", [&] { store.switchProfile(dice.of(ids)); }},
            {"switchProfileAndLogin", [&] { store.switchProfileAndLogin(dice.of(ids)); }},
            {"addNewAccount", [&] { store.addNewAccount(); }},
            {"refreshProfiles", [&] { store.refreshProfiles(); }},
            {"uninstall, canceled", [&] { store.uninstall(); }},
            {"connect and disconnect by turns",
             [&] {
                 store.connect();
                 store.disconnect();
                 store.connect();
                 if (dice.oneIn(2))
                     store.disconnect();
             }},
        });
    }

    std::string daemonSpeaks() {
        if (!app.daemon.isBusOpen())
            return "the daemon is not heard";
        const auto line = notification();
        switch (dice.below(12)) {
        case 0:
            app.daemon.closeBus();
            return "the stream ends";
        case 1:
            app.daemon.failBus(ECONNRESET);
            return "the stream breaks";
        case 2:
            app.daemon.send(line.substr(0, dice.below(line.size())));
            return "half a line: " + line;
        case 3:
            app.daemon.send("\n{]\n\xff\xfe\n" + line + "\n" + line + "\n");
            return "noise and twice " + line;
        default:
            app.daemon.notify(line);
            return line;
        }
    }

    std::string notification() {
        std::vector<std::string> members;
        if (dice.oneIn(2))
            members.push_back(fmt::format(R"("State":"{}")", dice.of(states)));
        if (dice.oneIn(2))
            members.push_back(fmt::format(
                R"("NetMap":{{"SelfNode":{{"Node":{{"ID":{0},"UserID":{1},"Name":"host-{0}",)"
                R"("Addresses":["100.64.0.{0}"]}}}},)"
                R"("UserProfiles":{{"1":{{"LoginName":"{2}"}}}}}})",
                1 + dice.below(3), dice.below(3), StoreWatch::onlyOnTheBus));
        if (dice.oneIn(4))
            members.push_back(fmt::format(R"("Jailed":{},"JailReason":"{}")", dice.oneIn(2),
                                          dice.oneIn(2) ? " \\n" : "policy"));
        if (dice.oneIn(6))
            members.push_back(R"("InteractiveLoginUrl":"https://login.example.com/a")");
        return fmt::format("{{{}}}", fmt::join(members, ","));
    }

    std::string daemonChanges() {
        if (dice.oneIn(8)) {
            daemonIsToChange = true;
            return isReachable ? "the daemon goes next" : "the daemon comes back next";
        }
        const auto& endpoint = dice.of(endpoints);
        const auto blank = endpoint.find(' ');
        const auto path = endpoint.substr(blank + 1);
        auto& delivery = app.daemon.deliveries[path] = {};
        const auto reply = answer(endpoint, delivery);
        app.daemon.answer(endpoint.substr(0, blank), path, SimulatedDaemon::raw(reply));
        return endpoint + " is answered: " + reply;
    }

    std::string answer(const std::string& endpoint, SimulatedDaemon::Delivery& delivery) {
        auto reply = "HTTP/1.1 200 OK\r\n\r\n" + body(endpoint);
        switch (dice.below(12)) {
        case 0:
            return "HTTP/1.1 500 Error\r\n\r\nbroken";
        case 1:
            return "no HTTP";
        case 2:
            reply.resize(dice.below(reply.size()));
            break;
        case 3:
            delivery.chunkSize = 1 + dice.below(7);
            break;
        case 4:
            delivery.readError = ECONNRESET;
            break;
        case 5:
            // Each unanswered request costs a thread for the rest of the walk.
            if (neverAnswered < 20 && endpoint.starts_with("GET"))
                app.daemon.answer("GET", endpoint.substr(4), SimulatedDaemon::never(), 1),
                    ++neverAnswered;
            break;
        default:
            delivery.delay = dice.oneIn(3) ? dice.upTo(5) : Duration{0};
        }
        return reply;
    }

    std::string body(const std::string& endpoint) {
        if (endpoint.ends_with("status"))
            return fmt::format(R"({{"backend_state":"{}","self":{{"id":{}}},"jailed":{}}})",
                               dice.of(states), dice.below(3), dice.oneIn(5));
        if (endpoint.ends_with("login"))
            return fmt::format(R"({{"interactive_login_url":"{}"}})",
                               dice.oneIn(2) ? "https://login.example.com/b" : "no url");
        if (!endpoint.ends_with("profiles"))
            return {};
        const auto& current = dice.of(ids);
        std::vector<std::string> profiles;
        for (const auto& id : ids)
            profiles.push_back(
                fmt::format(R"({{"id":"{0}","name":"{0}","is_current":{1},"user_email":"{0}@x"}})",
                            id, id == current));
        return fmt::format(R"({{"current_profile_id":"{}","profiles":[{}]}})", current,
                           fmt::join(profiles, ","));
    }

    std::string systemChanges() {
        auto& network = app.system.networkExtension;
        const auto failing = std::vector{Operation::loadAll, Operation::load, Operation::save};
        const bool isSaved = !network.configurations().empty();
        return happens({
            {"starts are refused",
             [&] {
                 network.tunnels.startError =
                     Error{NEVPNErrorDomain, 1, "The configuration is invalid."};
             }},
            {"starts are accepted", [&] { network.tunnels.startError.reset(); }},
            {"tunnels come up, or no longer",
             [&] { network.tunnels.comeUp = !network.tunnels.comeUp; }},
            {"tunnels take another time", [&] { network.tunnels.connectDuration = dice.upTo(4); }},
            {"the preferences take another time",
             [&] { network.answerDelay = dice.oneIn(2) ? Duration{0} : dice.upTo(1.5); }},
            {"the preferences fail",
             [&] {
                 network.errors[dice.of(failing)] =
                     Error{NEVPNErrorDomain, 5, "Cannot read or write."};
             }},
            {"the preferences work", [&] { network.errors.clear(); }},
            {"the tunnel is lost",
             [&] {
                 if (isSaved)
                     network.tunnel().drop();
             }},
            {"the configuration changes",
             [&] {
                 if (isSaved && dice.oneIn(4))
                     network.removeConfiguration(0);
                 else
                     network.tellConfigurationChange();
             }},
            {"the tunnel reports any status",
             [&] {
                 if (isSaved)
                     network.tunnel().report(static_cast<int>(dice.below(8)));
             }},
            {"the extension's approval changes",
             [&] { app.systemExtension->isApproved = !dice.oneIn(4); }},
        });
    }

    /// On a working system, the user's last request is fulfilled.
    std::string everythingSettles() {
        auto& network = app.system.networkExtension;
        network.tunnels = {};
        network.errors.clear();
        network.answerDelay = Duration{0};
        app.systemExtension->isApproved = true;
        // Clears a state that the tunnel only claims.
        if (!network.configurations().empty())
            network.tunnel().drop();
        app.advance(seconds(10));
        const bool on = dice.oneIn(2);
        if (on)
            app.appState->connect();
        else
            app.appState->disconnect();
        app.advance(seconds(30));
        const auto status = app.appState->vpn->status;
        if (watch.isTunnelWanted()) {
            EXPECT_EQ(status, VPNConnectionStatus::connected);
        } else {
            EXPECT_TRUE(status == VPNConnectionStatus::disconnected ||
                        status == VPNConnectionStatus::error)
                << static_cast<int>(status);
        }
        return on ? "connect, and time" : "disconnect, and time";
    }

    void becomeReachable(bool reachable) {
        daemonIsToChange = false;
        isReachable = reachable;
        if (reachable)
            app.daemon.acceptConnections();
        else
            app.daemon.refuseConnections();
        if (!reachable && app.daemon.isBusOpen())
            app.daemon.closeBus();
    }

    AppFixture app;
    Dice dice;
    StoreWatch watch;
    bool isReachable = true;
    bool daemonIsToChange = false;
    std::size_t neverAnswered = 0;
};

} // namespace quoxelin::testing
