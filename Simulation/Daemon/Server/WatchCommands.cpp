#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/DaemonModel.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/Server/ApiServer.h"
#include "Simulation/Daemon/Server/Bus.h"

namespace quoxelin::sim {

namespace {

void addWaits(Steering& steering, const Watched& watched) {
    steering.addCondition("requests", [watched](SteeringReader& reader) {
        return
            [watched, wanted = reader.count("requests").value_or(0),
             method = reader.text("method").value_or(""), path = reader.text("path").value_or("")] {
                return watched.requests.count(method, path) >= wanted;
            };
    });
    steering.addState("observers", [watched] { return watched.bus.observers(); });
    steering.addState("connections", [watched] { return watched.server.connections(); });
    steering.addCondition("state", [watched](SteeringReader& reader) {
        const auto state = reader.named<BackendState>("state", backendStates());
        return [watched, state] { return watched.model.state() == state; };
    });
}

json::Object status(const Watched& watched) {
    const auto& model = watched.model;
    return {{"requests", watched.requests.count("", "")},
            {"observers", watched.bus.observers()},
            {"connections", watched.server.connections()},
            {"state", nameOf(model.state())},
            {"peers", model.peerCount()},
            {"status", model.status()},
            {"profiles", model.profiles()},
            {"preferences", model.preferences()}};
}

} // namespace

void addConnectionCommands(Steering& steering, ApiServer& server, Bus& bus) {
    steering.addAction("refuse", [&] { server.refuse(); });
    steering.add("accept", [&](SteeringReader& reader) {
        const bool reset =
            reader.has("as") && reader.named<bool>("as", {{"serve", false}, {"reset", true}});
        return [&server, reset](const SteeringReply& reply) {
            server.setResetting(reset);
            if (const auto problem = server.listen())
                reply.fail(*problem);
            else
                reply.ok();
        };
    });
    steering.addReport("close-connections", [&]() -> json::Object {
        const auto streams = bus.closeAll();
        return {{"closed", server.closeConnections() + streams}};
    });
}

void addWatchCommands(Steering& steering, const Watched& watched) {
    addWaits(steering, watched);
    steering.add("requests", [watched](SteeringReader& reader) {
        const auto since = reader.count("since").value_or(0);
        const auto method = reader.text("method").value_or("");
        const auto path = reader.text("path").value_or("");
        return [=](const SteeringReply& reply) {
            reply.ok({{"requests", watched.requests.report(since, method, path)}});
        };
    });
    steering.addReport("status", [watched] { return status(watched); });
}

} // namespace quoxelin::sim
