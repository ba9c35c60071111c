#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/DaemonModel.h"

#include <boost/json.hpp>

#include <algorithm>
#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

Account readAccount(const json::object& members, std::size_t number, CommandReader& command) {
    CommandReader reader(members);
    Account account = newAccount(number);
    account.id = reader.requiredText("id");
    account.name = reader.requiredText("name");
    account.email = reader.text("email").value_or("");
    account.displayName = reader.text("display-name").value_or(account.name);
    account.hostLabel = reader.text("host").value_or(account.hostLabel);
    account.nodeId = static_cast<std::int64_t>(
        reader.count("node-id").value_or(static_cast<std::size_t>(account.nodeId)));
    account.userId = static_cast<std::int64_t>(
        reader.count("user-id").value_or(static_cast<std::size_t>(account.userId)));
    account.authenticated = reader.flag("logged-in", false);
    account.wantRunning = reader.flag("want-running", account.authenticated);
    if (const auto problem = reader.problem()) {
        command.fail("profile " + std::to_string(number) + ": " + *problem);
    }
    return account;
}

Effect replaceProfiles(DaemonModel& model, CommandReader& reader) {
    const json::value* list = reader.value("profiles");
    std::vector<Account> accounts;
    if (!list || !list->is_array()) {
        reader.fail("\"profiles\" must be a list");
        return {};
    }
    for (const json::value& entry : list->get_array()) {
        if (!entry.is_object()) {
            reader.fail("a profile must be an object");
            return {};
        }
        accounts.push_back(readAccount(entry.get_object(), accounts.size(), reader));
    }
    const std::string current = reader.text("current").value_or("");
    return [&model, accounts, current]() -> json::object {
        model.setAccounts(accounts, current);
        return {};
    };
}

Effect putInState(DaemonModel& model, CommandReader& reader) {
    const std::string name = reader.requiredText("state");
    const auto state = backendStateNamed(name);
    if (!state) {
        reader.fail("no state \"" + name + "\": NoState, NeedsLogin, Stopped, Starting or Running");
        return {};
    }
    return [&model, state = *state]() -> json::object {
        model.setBackendState(state);
        return {};
    };
}

Effect switchProfile(DaemonModel& model, CommandReader& reader) {
    // "id" names the command itself, for its answer; the profile's has a name of its own.
    const std::string profile = reader.requiredText("profile");
    const auto& known = model.accounts();
    if (std::none_of(known.begin(), known.end(),
                     [&](const Account& a) { return a.id == profile; })) {
        reader.fail("no such profile");
    }
    return [&model, profile]() -> json::object {
        model.switchProfile(profile);
        return {};
    };
}

void completeLogin(DaemonModel& model, CommandReader& reader, const Answer& answer) {
    if (const auto problem = reader.problem()) {
        answer.fail(*problem);
    } else if (const auto callback = model.completeLogin()) {
        answer.ok({{"callback", *callback}});
    } else {
        answer.fail("logged in already");
    }
}

} // namespace

void addStateCommands(Commands& commands, DaemonModel& model) {
    const auto add = [&](const char* name, Effect (*read)(DaemonModel&, CommandReader&)) {
        commands[name] = simpleCommand([&model, read](CommandReader& r) { return read(model, r); });
    };
    commands["login"] = [&model](CommandReader& reader, const Answer& answer) {
        completeLogin(model, reader, answer);
    };
    add("profiles", replaceProfiles);
    add("state", putInState);
    add("switch", switchProfile);
    add("login-url", [](DaemonModel& m, CommandReader&) -> Effect {
        return [&m]() -> json::object {
            const auto url = m.pendingLoginUrl();
            return {{"url", url ? json::value(*url) : json::value()}};
        };
    });
    add("logout", [](DaemonModel& m, CommandReader&) -> Effect {
        return [&m]() -> json::object {
            m.logOut();
            return {};
        };
    });
    add("jail", [](DaemonModel& m, CommandReader& reader) -> Effect {
        return [&m, reason = reader.text("reason")]() -> json::object {
            m.jail(reason);
            return {};
        };
    });
    add("unjail", [](DaemonModel& m, CommandReader&) -> Effect {
        return [&m]() -> json::object {
            m.unjail();
            return {};
        };
    });
    add("peers", [](DaemonModel& m, CommandReader& reader) -> Effect {
        const std::size_t count = reader.requiredCount("count");
        if (count > 1000000) {
            reader.fail("more than a million peers");
        }
        return [&m, count]() -> json::object {
            m.setPeerCount(count);
            return {};
        };
    });
    add("starting-time", [](DaemonModel& m, CommandReader& reader) -> Effect {
        const auto time = reader.seconds("seconds");
        if (!time) {
            reader.fail("\"seconds\" is missing");
        }
        return [&m, time = time.value_or(std::chrono::milliseconds(0))]() -> json::object {
            m.setStartingTime(time);
            return {};
        };
    });
}

} // namespace quoxelin::sim
