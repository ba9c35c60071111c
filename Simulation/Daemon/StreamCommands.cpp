#include "Simulation/Daemon/Bus.h"
#include "Simulation/Daemon/Commands.h"

#include <boost/json.hpp>

#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

Pacing readPacing(CommandReader& reader) {
    return {reader.counts("split"), reader.seconds("pause").value_or(std::chrono::milliseconds(0))};
}

Effect notify(Bus& bus, CommandReader& reader) {
    const json::object* notification = reader.object("notification");
    if (!notification) {
        reader.fail("\"notification\" is missing");
        return {};
    }
    return [&bus, line = json::serialize(*notification)]() -> json::object {
        bus.announce(line);
        return {{"observers", bus.observers()}};
    };
}

Effect setOpening(Bus& bus, CommandReader& reader) {
    StreamOpening opening;
    opening.header = reader.bytes();
    opening.pacing = readPacing(reader);
    opening.greeting = reader.flag("greeting", true);
    opening.chunked = reader.flag("chunked", false);
    return [&bus, opening]() -> json::object {
        bus.setOpening(opening);
        return {};
    };
}

void sendRaw(Bus& bus, CommandReader& reader, const Answer& answer) {
    std::string bytes = reader.requiredBytes();
    Pacing pacing = readPacing(reader);
    if (const auto problem = reader.problem()) {
        answer.fail(*problem);
        return;
    }
    bus.sendRaw(std::move(bytes), std::move(pacing), [answer](std::size_t observers) {
        answer.ok({{"observers", observers}});
    });
}

} // namespace

void addStreamCommands(Commands& commands, Bus& bus) {
    const auto add = [&](const char* name, Effect (*read)(Bus&, CommandReader&)) {
        commands[name] = simpleCommand([&bus, read](CommandReader& r) { return read(bus, r); });
    };
    commands["raw"] = [&bus](CommandReader& reader, const Answer& answer) {
        sendRaw(bus, reader, answer);
    };
    add("notify", notify);
    add("stream", setOpening);
    add("stall", [](Bus& b, CommandReader&) -> Effect {
        return [&b]() -> json::object {
            b.setStalled(true);
            return {};
        };
    });
    add("resume", [](Bus& b, CommandReader&) -> Effect {
        return [&b]() -> json::object {
            b.setStalled(false);
            return {};
        };
    });
    add("close-streams", [](Bus& b, CommandReader&) -> Effect {
        return [&b]() -> json::object { return {{"closed", b.closeAll()}}; };
    });
}

} // namespace quoxelin::sim
