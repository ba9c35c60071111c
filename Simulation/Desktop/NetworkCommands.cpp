#include "Simulation/Desktop/SystemCommands.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

namespace {

using Vpn = SimulatedNetworkExtension;

/// The configuration at "place", the first one by default.
std::size_t placeIn(SteeringReader& reader, const Vpn& vpn) {
    const auto place = reader.count("place").value_or(0);
    if (place >= vpn.configurations().size())
        reader.fail("there is no configuration at that place");
    return place;
}

/// The raw status of the first configuration's tunnel; -1 without one.
std::int64_t firstStatus(Vpn& vpn) {
    return vpn.configurations().empty() ? -1 : vpn.tunnel().status();
}

json::Object stateOf(Vpn& vpn) {
    json::Array configurations;
    for (const auto& configuration : vpn.configurations()) {
        const auto& protocol = configuration.protocol;
        const auto place = configurations.size();
        configurations.emplace_back(json::Object{
            {"provider", protocol ? protocol->providerBundleIdentifier.value_or("") : ""},
            {"description", configuration.localizedDescription.value_or("")},
            {"enabled", configuration.isEnabled},
            {"status", vpn.tunnel(place).status()}});
    }
    return {{"configurations", configurations},
            {"requests", json::Array(vpn.requests.begin(), vpn.requests.end())}};
}

void addBehavior(Steering& steering, Vpn& vpn) {
    steering.addAction("require-vpn-approval", [&] { vpn.requireApproval(); });
    steering.addAction("allow-vpn", [&] { vpn.allow(); });
    steering.addAction("decline-vpn", [&] { vpn.decline(); });
    steering.add("vpn", [&](SteeringReader& reader) {
        const auto delay = reader.duration("delay");
        const auto connect = reader.duration("connect-seconds");
        const auto disconnect = reader.duration("disconnect-seconds");
        const auto comesUp = reader.flag("comes-up");
        return doing([=, &vpn] {
            vpn.answerDelay = delay.value_or(vpn.answerDelay);
            auto& tunnels = vpn.tunnels;
            tunnels.connectDuration = connect.value_or(tunnels.connectDuration);
            tunnels.disconnectDuration = disconnect.value_or(tunnels.disconnectDuration);
            tunnels.comeUp = comesUp.value_or(tunnels.comeUp);
        });
    });
    steering.add("fail-vpn-start", [&](SteeringReader& reader) {
        const auto error = reader.error("error", NEVPNErrorDomain);
        return doing([=, &vpn] { vpn.tunnels.startError = error; });
    });
    steering.add("fail-vpn", [&](SteeringReader& reader) {
        using Operation = Vpn::Operation;
        const auto operation =
            reader.named<Operation>("operation", {{"load-all", Operation::loadAll},
                                                  {"load", Operation::load},
                                                  {"save", Operation::save},
                                                  {"remove", Operation::remove}});
        const auto error = reader.error("error", NEVPNErrorDomain);
        return doing([=, &vpn] {
            vpn.errors.erase(operation);
            if (error)
                vpn.errors.emplace(operation, *error);
        });
    });
}

void addEvents(Steering& steering, Vpn& vpn) {
    steering.add("drop-vpn", [&](SteeringReader& reader) {
        return doing([&vpn, place = placeIn(reader, vpn)] { vpn.tunnel(place).drop(); });
    });
    steering.add("reassert-vpn", [&](SteeringReader& reader) {
        const auto duration = reader.duration("seconds").value_or(seconds(1));
        return doing([&vpn, place = placeIn(reader, vpn), duration] {
            vpn.tunnel(place).reassert(duration);
        });
    });
    steering.add("report-vpn-status", [&](SteeringReader& reader) {
        const auto status = static_cast<int>(reader.requiredInteger("status"));
        return doing(
            [&vpn, place = placeIn(reader, vpn), status] { vpn.tunnel(place).report(status); });
    });
    steering.add("add-vpn-configuration", [&](SteeringReader& reader) {
        const auto provider = reader.requiredText("provider");
        const auto description = reader.requiredText("description");
        return doing([=, &vpn] { vpn.addConfiguration(Vpn::ofTunnel(provider, description)); });
    });
    steering.add("remove-vpn-configuration", [&](SteeringReader& reader) {
        return doing([&vpn, place = placeIn(reader, vpn)] { vpn.removeConfiguration(place); });
    });
}

using Extensions = SimulatedSystemExtensions;
using Kind = OSSystemExtensionRequest::Kind;

json::Object stateOf(const Extensions& system) {
    json::Array extensions;
    for (const auto& one : system.extensions)
        extensions.emplace_back(json::Object{{"identifier", one.bundleIdentifier},
                                             {"version", one.bundleShortVersion},
                                             {"enabled", one.isEnabled},
                                             {"awaiting-approval", one.isAwaitingUserApproval}});
    return {{"outstanding", system.outstandingActivations()},
            {"activations", system.submissions(Kind::activation)},
            {"probes", system.submissions(Kind::properties)},
            {"extensions", extensions}};
}

void addFailures(Steering& steering, Extensions& extensions) {
    steering.add("fail-extension", [&](SteeringReader& reader) {
        const auto error = reader.error("error", OSSystemExtensionErrorDomain);
        return doing([=, &extensions] { extensions.activationError = error; });
    });
    steering.add("fail-extension-probe", [&](SteeringReader& reader) {
        const auto error = reader.error("error", OSSystemExtensionErrorDomain);
        return doing([=, &extensions] { extensions.propertiesError = error; });
    });
    steering.add("end-activations", [&](SteeringReader& reader) {
        const auto error = reader.error("error", OSSystemExtensionErrorDomain);
        if (!error)
            reader.miss("error");
        return doing([=, &extensions] { extensions.failActivations(*error); });
    });
}

} // namespace

void addTunnelCommands(Steering& steering, SimulatedSystem& system) {
    auto& vpn = system.networkExtension;
    addBehavior(steering, vpn);
    addEvents(steering, vpn);
    steering.addReport("vpn-state", [&] { return stateOf(vpn); });
    steering.addState("vpn-status", [&] { return firstStatus(vpn); });
}

void addExtensionCommands(Steering& steering, SimulatedSystem& system) {
    auto& extensions = system.systemExtensions;
    addFailures(steering, extensions);
    steering.addAction("require-extension-approval", [&] { extensions.requireApproval(); });
    steering.addAction("approve-extension", [&] { extensions.approve(); });
    steering.add("extension", [&](SteeringReader& reader) {
        const auto delay = reader.duration("delay");
        const auto answers = reader.flag("answers");
        const auto answersProbes = reader.flag("probe-answers");
        const auto result = reader.integer("result");
        const auto version = reader.text("version");
        return doing([=, &extensions] {
            extensions.answerDelay = delay.value_or(extensions.answerDelay);
            extensions.answersActivations = answers.value_or(extensions.answersActivations);
            extensions.answersProperties = answersProbes.value_or(extensions.answersProperties);
            extensions.bundledVersion = version.value_or(extensions.bundledVersion);
            extensions.result = static_cast<int>(result.value_or(extensions.result));
        });
    });
    steering.add("install-extension", [&](SteeringReader& reader) {
        const OSSystemExtensionProperties properties = {
            reader.text("identifier").value_or("com.quoxelin.desktop.PacketTunnel"),
            reader.text("version").value_or("1.0"), reader.flag("enabled").value_or(true),
            reader.flag("awaiting-approval").value_or(false)};
        return doing([=, &extensions] { extensions.extensions.push_back(properties); });
    });
    steering.addAction("remove-extensions", [&] { extensions.extensions.clear(); });
    steering.addReport("extension-state", [&] { return stateOf(extensions); });
    steering.addCount("activations", [&] { return extensions.submissions(Kind::activation); });
}

} // namespace quoxelin
