#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/SteeringSupport.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

using namespace steering;

namespace {

using Vpn = SimulatedNetworkExtension;

/// The tunnel of the configuration at "place", the first one unless said otherwise; notes that
/// there is none.
std::function<SimulatedNEVPNConnection&()> tunnelIn(SteeringReader& reader, Vpn& vpn) {
    const auto place = reader.integer("place").value_or(0);
    if (place < 0 || static_cast<std::size_t>(place) >= vpn.configurations().size())
        reader.fail("there is no configuration at that place");
    return [&vpn, place]() -> SimulatedNEVPNConnection& {
        return vpn.tunnel(static_cast<std::size_t>(place));
    };
}

/// The raw status of the first configuration's tunnel; -1 without one.
std::int64_t firstStatus(Vpn& vpn) {
    return vpn.configurations().empty() ? -1 : vpn.tunnel().status();
}

void addVpnApproval(Steering& steering, Vpn& vpn) {
    steering.addAction("require-vpn-approval", [&] { vpn.requireApproval(); });
    steering.addAction("allow-vpn", [&] { vpn.allow(); });
    steering.addAction("decline-vpn", [&] { vpn.decline(); });
}

void addVpnBehaviour(Steering& steering, Vpn& vpn) {
    steering.add("vpn", [&](SteeringReader& reader) {
        const auto delay = reader.duration("delay");
        const auto connect = reader.duration("connect-seconds");
        const auto disconnect = reader.duration("disconnect-seconds");
        const auto comesUp = reader.flag("comes-up");
        return doing([=, &vpn] {
            takeOver(vpn.answerDelay, delay);
            takeOver(vpn.tunnels.connectDuration, connect);
            takeOver(vpn.tunnels.disconnectDuration, disconnect);
            takeOver(vpn.tunnels.comeUp, comesUp);
        });
    });
    steering.add("fail-vpn-start", [&](SteeringReader& reader) {
        const auto error = reader.error("error", NEVPNErrorDomain);
        return doing([=, &vpn] { vpn.tunnels.startError = error; });
    });
    steering.add("fail-vpn", [&](SteeringReader& reader) {
        using Operation = Vpn::Operation;
        constexpr std::array<Name<Operation>, 4> operations = {{{"load-all", Operation::loadAll},
                                                                {"load", Operation::load},
                                                                {"save", Operation::save},
                                                                {"remove", Operation::remove}}};
        const auto operation =
            named(reader, "operation", reader.requiredText("operation"), operations);
        const auto error = reader.error("error", NEVPNErrorDomain);
        return doing([=, &vpn] {
            vpn.errors.erase(operation);
            if (error)
                vpn.errors.emplace(operation, *error);
        });
    });
}

void addTunnelEvents(Steering& steering, Vpn& vpn) {
    steering.add("drop-vpn", [&](SteeringReader& reader) {
        const auto tunnel = tunnelIn(reader, vpn);
        return doing([tunnel] { tunnel().drop(); });
    });
    steering.add("reassert-vpn", [&](SteeringReader& reader) {
        const auto tunnel = tunnelIn(reader, vpn);
        const auto duration = reader.duration("seconds").value_or(seconds(1));
        return doing([tunnel, duration] { tunnel().reassert(duration); });
    });
    steering.add("report-vpn-status", [&](SteeringReader& reader) {
        const auto tunnel = tunnelIn(reader, vpn);
        const auto status = static_cast<int>(reader.requiredInteger("status"));
        return doing([tunnel, status] { tunnel().report(status); });
    });
    steering.add("add-vpn-configuration", [&](SteeringReader& reader) {
        const auto configuration = Vpn::Configuration::ofTunnel(reader.requiredText("provider"),
                                                                reader.requiredText("description"));
        return doing([&vpn, configuration] { vpn.addConfiguration(configuration); });
    });
    steering.add("remove-vpn-configuration", [&](SteeringReader& reader) {
        static_cast<void>(tunnelIn(reader, vpn));
        const auto place = static_cast<std::size_t>(reader.integer("place").value_or(0));
        return doing([&vpn, place] { vpn.removeConfiguration(place); });
    });
}

void addVpnReports(Steering& steering, Vpn& vpn) {
    steering.addReport("vpn-state", [&](json::Writer& members) {
        std::size_t place = 0;
        objects(members, "configurations", vpn.configurations(), [&](const auto& configuration) {
            if (const auto* const tunnel = configuration.tunnel())
                optionalMember(members, "provider", tunnel->providerBundleIdentifier);
            optionalMember(members, "description", configuration.localizedDescription);
            member(members, "enabled", configuration.isEnabled);
            member(members, "status", std::int64_t(vpn.tunnel(place++).status()));
        });
        member(members, "requests", vpn.requests);
    });
    steering.addState("vpn-status", [&] { return firstStatus(vpn); });
}

using Extensions = SimulatedSystemExtensions;

void addExtensionBehaviour(Steering& steering, Extensions& extensions) {
    steering.addAction("require-extension-approval", [&] { extensions.requireApproval(); });
    steering.addAction("approve-extension", [&] { extensions.approve(); });
    steering.add("extension", [&](SteeringReader& reader) {
        const auto delay = reader.duration("delay");
        const auto answers = reader.flag("answers");
        const auto answersProbes = reader.flag("probe-answers");
        const auto result = reader.integer("result");
        const auto version = reader.text("version");
        return doing([=, &extensions] {
            takeOver(extensions.answerDelay, delay);
            takeOver(extensions.answersActivations, answers);
            takeOver(extensions.answersProperties, answersProbes);
            takeOver(extensions.bundledVersion, version);
            if (result)
                extensions.result = static_cast<int>(*result);
        });
    });
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
            reader.fail("\"error\" is missing");
        return doing([=, &extensions] { extensions.failActivations(*error); });
    });
}

void addExtensionReports(Steering& steering, Extensions& extensions) {
    steering.add("install-extension", [&](SteeringReader& reader) {
        OSSystemExtensionProperties properties;
        properties.bundleIdentifier =
            reader.text("identifier").value_or("com.quoxelin.desktop.PacketTunnel");
        properties.bundleShortVersion = reader.text("version").value_or("1.0");
        properties.isEnabled = reader.flag("enabled").value_or(true);
        properties.isAwaitingUserApproval = reader.flag("awaiting-approval").value_or(false);
        return doing([=, &extensions] { extensions.extensions.push_back(properties); });
    });
    steering.addAction("remove-extensions", [&] { extensions.extensions.clear(); });
    steering.addReport("extension-state", [&](json::Writer& members) {
        using Kind = OSSystemExtensionRequest::Kind;
        count(members, "outstanding", extensions.outstandingActivations());
        count(members, "activations", extensions.submissions(Kind::activation));
        count(members, "probes", extensions.submissions(Kind::properties));
        objects(members, "extensions", extensions.extensions, [&](const auto& extension) {
            member(members, "identifier", extension.bundleIdentifier);
            member(members, "version", extension.bundleShortVersion);
            member(members, "enabled", extension.isEnabled);
            member(members, "awaiting-approval", extension.isAwaitingUserApproval);
        });
    });
    steering.addCount("activations", [&] {
        return static_cast<std::int64_t>(
            extensions.submissions(OSSystemExtensionRequest::Kind::activation));
    });
}

} // namespace

void addExtensionCommands(Steering& steering, SimulatedSystem& system) {
    addExtensionBehaviour(steering, system.systemExtensions);
    addExtensionReports(steering, system.systemExtensions);
}

void addVpnCommands(Steering& steering, SimulatedSystem& system) {
    addVpnApproval(steering, system.networkExtension);
    addVpnBehaviour(steering, system.networkExtension);
    addTunnelEvents(steering, system.networkExtension);
    addVpnReports(steering, system.networkExtension);
}

} // namespace quoxelin
