#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/Server/Bus.h"

namespace quoxelin::sim {

namespace {

SteeringEffect notify(Bus& bus, SteeringReader& reader) {
    const auto* const notification = reader.object("notification");
    if (notification == nullptr)
        reader.miss("notification");
    const auto line = notification != nullptr ? json::serialize(*notification) : "";
    return [&bus, line](const SteeringReply& reply) {
        bus.announce(line);
        reply.ok({{"observers", bus.observers()}});
    };
}

SteeringEffect sendRaw(Bus& bus, SteeringReader& reader) {
    return
        [&bus, bytes = reader.requiredBytes(),
         pacing = Pacing{reader.counts("split"), reader.duration("pause").value_or(Duration(0))}](
            const SteeringReply& reply) {
            bus.sendRaw(bytes, pacing, [reply](std::size_t observers) {
                reply.ok({{"observers", observers}});
            });
        };
}

} // namespace

void addStreamCommands(Steering& steering, Bus& bus) {
    steering.add("notify", [&](SteeringReader& reader) { return notify(bus, reader); });
    steering.add("raw", [&](SteeringReader& reader) { return sendRaw(bus, reader); });
    steering.add("stream", [&](SteeringReader& reader) {
        const StreamOpening opening = {reader.bytes(), reader.flag("chunked").value_or(false)};
        return doing([&bus, opening] { bus.setOpening(opening); });
    });
    steering.addAction("stall", [&] { bus.setStalled(true); });
    steering.addAction("resume", [&] { bus.setStalled(false); });
    steering.addReport("close-streams", [&]() -> json::Object {
        return {{"closed", bus.closeAll()}};
    });
}

} // namespace quoxelin::sim
