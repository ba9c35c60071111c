#include "Simulation/Daemon/ApiServer.h"
#include "Simulation/Daemon/Bus.h"
#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/DaemonModel.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/Waits.h"

#include <boost/json.hpp>
#include <fmt/format.h>

#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

/// What a "wait" waits for; what is absent need not hold.
struct Condition {
    std::optional<std::size_t> requests; ///< at least so many
    std::string method;
    std::string path;
    std::optional<std::size_t> observers;   ///< exactly so many
    std::optional<std::size_t> connections; ///< exactly so many
    std::optional<BackendState> state;
};

json::object counts(const Watched& watched, const Condition& condition) {
    return {{"requests", watched.requests.count(condition.method, condition.path)},
            {"observers", watched.bus.observers()},
            {"connections", watched.server.connections()},
            {"state", nameOf(watched.model.state())}};
}

bool holds(const Watched& watched, const Condition& wanted) {
    return (!wanted.requests ||
            watched.requests.count(wanted.method, wanted.path) >= *wanted.requests) &&
           (!wanted.observers || watched.bus.observers() == *wanted.observers) &&
           (!wanted.connections || watched.server.connections() == *wanted.connections) &&
           (!wanted.state || watched.model.state() == *wanted.state);
}

void wait(const Watched& watched, CommandReader& reader, const Answer& answer) {
    Condition condition;
    condition.requests = reader.count("requests");
    condition.method = reader.text("method").value_or("");
    condition.path = reader.text("path").value_or("");
    condition.observers = reader.count("observers");
    condition.connections = reader.count("connections");
    if (const auto name = reader.text("state")) {
        condition.state = backendStateNamed(*name);
        if (!condition.state) {
            reader.fail("no state \"" + *name + "\"");
        }
    }
    const auto timeout = reader.seconds("timeout").value_or(std::chrono::seconds(10));
    if (const auto problem = reader.problem()) {
        answer.fail(*problem);
        return;
    }
    watched.waits.add([watched, condition] { return holds(watched, condition); }, timeout,
                      [watched, condition, answer](bool held) {
                          json::object now = counts(watched, condition);
                          if (held) {
                              answer.ok(std::move(now));
                          } else {
                              answer.fail("timed out: " + json::serialize(now));
                          }
                      });
}

Effect report(const Watched& watched, CommandReader& reader) {
    const std::size_t since = reader.count("since").value_or(0);
    const std::string method = reader.text("method").value_or("");
    const std::string path = reader.text("path").value_or("");
    return [watched, since, method, path]() -> json::object {
        return {{"requests", watched.requests.report(since, method, path)}};
    };
}

json::object status(const Watched& watched) {
    json::object members = counts(watched, {});
    members["peers"] = watched.model.peerCount();
    members["status"] = watched.model.status();
    members["profiles"] = watched.model.profiles();
    members["preferences"] = watched.model.preferences();
    return members;
}

} // namespace

void addConnectionCommands(Commands& commands, ApiServer& server, Bus& bus) {
    commands["refuse"] = simpleCommand([&server](CommandReader& reader) -> Effect {
        return [&server, remove = reader.flag("remove", false)]() -> json::object {
            server.refuse(remove);
            return {};
        };
    });
    commands["accept"] = [&server](CommandReader& reader, const Answer& answer) {
        const std::string how = reader.text("as").value_or("serve");
        if (how != "serve" && how != "reset" && how != "ignore") {
            reader.fail("\"as\" must be \"serve\", \"reset\" or \"ignore\"");
        }
        auto problem = reader.problem();
        if (!problem) {
            server.setAccepting(how == "reset"    ? Accepting::reset
                                : how == "ignore" ? Accepting::ignore
                                                  : Accepting::serve);
            problem = server.listen();
        }
        if (problem) {
            answer.fail(*problem);
        } else {
            answer.ok();
        }
    };
    commands["close-connections"] = simpleCommand([&server, &bus](CommandReader&) -> Effect {
        return [&server, &bus]() -> json::object {
            const std::size_t streams = bus.closeAll();
            return {{"closed", server.closeConnections() + streams}};
        };
    });
}

void addWatchCommands(Commands& commands, Watched watched) {
    commands["wait"] = [watched](CommandReader& reader, const Answer& answer) {
        wait(watched, reader, answer);
    };
    commands["requests"] =
        simpleCommand([watched](CommandReader& reader) { return report(watched, reader); });
    commands["clear-requests"] = simpleCommand([watched](CommandReader&) -> Effect {
        return [watched]() -> json::object {
            watched.requests.clear();
            return {};
        };
    });
    commands["status"] = simpleCommand(
        [watched](CommandReader&) -> Effect { return [watched] { return status(watched); }; });
}

} // namespace quoxelin::sim
