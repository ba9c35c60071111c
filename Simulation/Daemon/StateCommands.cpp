#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/DaemonModel.h"

namespace quoxelin::sim {

void addStateCommands(Steering& steering, DaemonModel& model) {
    steering.add("login", [&model](SteeringReader&) {
        return [&model](const SteeringReply& reply) {
            if (const auto callback = model.completeLogin())
                reply.ok({{"callback", *callback}});
            else
                reply.fail("logged in already");
        };
    });
    steering.addReport("login-url", [&model]() -> json::Object {
        const auto url = model.pendingLoginUrl();
        return {{"url", url ? json::Value(*url) : json::Value()}};
    });
    steering.add("state", [&](SteeringReader& reader) {
        const auto state = reader.named<BackendState>("state", backendStates());
        return doing([&model, state] { model.setBackendState(state); });
    });
    steering.add("jail", [&](SteeringReader& reader) {
        return doing([&model, reason = reader.text("reason")] { model.jail(reason); });
    });
    steering.addAction("unjail", [&] { model.unjail(); });
    steering.add("peers", [&](SteeringReader& reader) {
        const auto count = reader.count("count");
        if (!count)
            reader.miss("count");
        if (count > 1000000)
            reader.fail("more than a million peers");
        return doing([&model, count] { model.setPeerCount(*count); });
    });
}

} // namespace quoxelin::sim
