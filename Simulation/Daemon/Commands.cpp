#include "Simulation/Daemon/Commands.h"

#include <boost/json.hpp>

#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

Answer::Answer(Write writeLine, const json::object& command) : write(std::move(writeLine)) {
    for (const char* name : {"do", "id"}) {
        if (const json::value* member = command.if_contains(name)) {
            heading[name] = *member;
        }
    }
}

void Answer::ok(json::object members) const {
    finish(true, members);
}

void Answer::fail(std::string_view what) const {
    finish(false, {{"error", what}});
}

void Answer::finish(bool good, const json::object& members) const {
    json::object line{{"ok", good}};
    line.insert(heading.begin(), heading.end());
    line.insert(members.begin(), members.end());
    write(json::serialize(line));
}

Command simpleCommand(std::function<Effect(CommandReader&)> act) {
    return [act = std::move(act)](CommandReader& reader, const Answer& answer) {
        const Effect effect = act(reader);
        if (const auto problem = reader.problem()) {
            answer.fail(*problem);
            return;
        }
        answer.ok(effect());
    };
}

} // namespace quoxelin::sim
