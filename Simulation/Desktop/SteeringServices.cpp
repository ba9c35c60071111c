#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/SteeringSupport.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

using namespace steering;

void addNotificationCommands(Steering& steering, SimulatedSystem& system) {
    auto& center = system.userNotificationCenter;
    steering.add("answer-notifications", [&](SteeringReader& reader) {
        const auto granted = reader.flag("granted").value_or(true);
        return doing([=, &center] { center.answer(granted); });
    });
    steering.addAction("forget-notifications-answer", [&] { center.forgetAnswer(); });
    steering.add("fail-notifications", [&](SteeringReader& reader) {
        const auto error = reader.error("error", "UNErrorDomain");
        return doing([=, &center] { center.failAuthorization(error); });
    });
    steering.addReport("notifications", [&](json::Writer& members) {
        count(members, "added", center.requests().size());
        objects(members, "delivered", center.delivered(), [&](const auto& one) {
            member(members, "identifier", one.request.identifier);
            member(members, "title", one.request.title);
            member(members, "body", one.request.body);
        });
    });
    steering.addCount("notifications",
                      [&] { return static_cast<std::int64_t>(center.delivered().size()); });
}

void addUpdateCommands(Steering& steering, SimulatedSystem& system) {
    auto& updates = system.updates;
    steering.add("updates", [&](SteeringReader& reader) {
        const auto allowed = reader.flag("allowed");
        const auto available = reader.text("available");
        const auto duration = reader.duration("seconds");
        return doing([=, &updates] {
            if (allowed)
                updates.setCanCheckForUpdates(*allowed);
            if (available)
                updates.setAvailableUpdate(available->empty() ? std::nullopt : available);
            if (duration)
                updates.setCheckDuration(*duration);
        });
    });
    steering.addReport("update-checks", [&](json::Writer& members) {
        objects(members, "checks", updates.checks(),
                [&](const auto& offered) { optionalMember(members, "offered", offered); });
    });
    steering.addCount("update-checks",
                      [&] { return static_cast<std::int64_t>(updates.checks().size()); });
}

void addScriptCommands(Steering& steering, SimulatedSystem& system) {
    auto& scripts = system.appleScript;
    steering.addAction("ask-for-password", [&] { scripts.waitForPassword(); });
    steering.addAction("give-password", [&] { scripts.givePassword(); });
    steering.addAction("cancel-password", [&] { scripts.cancelPassword(); });
    steering.add("fail-scripts", [&](SteeringReader& reader) {
        const auto information = reader.text("error-information");
        return doing([=, &scripts] { scripts.setOutcome(information); });
    });
    steering.add("refuse-scripts", [&](SteeringReader& reader) {
        const auto refused = reader.flag("refused").value_or(true);
        return doing([=, &scripts] { scripts.refuseSources(refused); });
    });
    steering.addReport("scripts", [&](json::Writer& members) {
        member(members, "executed", scripts.executedSources());
        member(members, "asking", scripts.isAskingForPassword());
    });
    steering.addCount("scripts",
                      [&] { return static_cast<std::int64_t>(scripts.executedSources().size()); });
}

void addServiceCommands(Steering& steering, SimulatedSystem& system) {
    addExtensionCommands(steering, system);
    addVpnCommands(steering, system);
    addHelperCommands(steering, system);
    addRegistrationCommands(steering, system);
    addNotificationCommands(steering, system);
    addUpdateCommands(steering, system);
    addScriptCommands(steering, system);
}

} // namespace quoxelin
