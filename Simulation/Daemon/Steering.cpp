#include "Simulation/Daemon/Steering.h"

#include <boost/json.hpp>
#include <fmt/format.h>

#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

Steering::Steering(Answer::Write writeLine) : write(std::move(writeLine)) {}

void Steering::obey(std::string_view line) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
        return;
    }
    json::error_code error;
    json::parse_options options;
    options.max_depth = 1024;
    const json::value value = json::parse(line, error, {}, options);
    if (error || !value.is_object()) {
        Answer(write, {}).fail(error ? "not JSON: " + error.message() : "not a JSON object");
        return;
    }
    const Answer owed(write, value.get_object());
    CommandReader reader(value.get_object());
    reader.value("id"); // any value: it only goes back with the answer
    const auto name = reader.text("do");
    if (!name) {
        owed.fail(reader.problem().value_or("\"do\" is missing"));
        return;
    }
    const auto command = commands.find(*name);
    if (command == commands.end()) {
        owed.fail(fmt::format("no command \"{}\"", *name));
        return;
    }
    command->second(reader, owed);
}

} // namespace quoxelin::sim
