#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/SteeringSupport.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

using namespace steering;

void addHelperCommands(Steering& steering, SimulatedSystem& system) {
    auto& xpc = system.xpc;
    steering.add("helper", [&](SteeringReader& reader) {
        using Helper = SimulatedXPC::Helper;
        constexpr std::array<Name<Helper>, 4> states = {{{"answering", Helper::answering},
                                                         {"silent", Helper::silent},
                                                         {"missing", Helper::missing},
                                                         {"incompatible", Helper::incompatible}}};
        std::optional<Helper> state;
        if (const auto text = reader.text("state"))
            state = named(reader, "state", *text, states);
        const auto delay = reader.duration("delay");
        return doing([=, &xpc] {
            if (state)
                xpc.setHelper(*state);
            if (delay)
                xpc.setReplyDelay(*delay);
        });
    });
    steering.add("helper-output", [&](SteeringReader& reader) {
        const auto argument = reader.requiredText("argument");
        const auto output = reader.requiredText("output");
        return doing([=, &xpc] { xpc.setOutput(argument, output); });
    });
    steering.addAction("kill-helper", [&] { xpc.killHelper(); });
    steering.addAction("close-helper-connections", [&] { xpc.invalidateConnections(); });
    steering.addReport("helper-messages", [&](json::Writer& members) {
        objects(members, "messages", xpc.messages(), [&](const auto& message) {
            member(members, "path", message.path);
            member(members, "arguments", message.arguments);
        });
    });
    steering.addCount("helper-messages",
                      [&] { return static_cast<std::int64_t>(xpc.messages().size()); });
}

void addRegistrationCommands(Steering& steering, SimulatedSystem& system) {
    using Registration = SimulatedServiceManagement::Registration;
    const auto registrationIn = [&services = system.serviceManagement](SteeringReader& reader) {
        const std::array<Name<Registration*>, 2> registrations = {
            {{"login-item", &services.mainAppRegistration()},
             {"helper", &services.daemonRegistration(simulatedHelperPlistName)}}};
        return named(reader, "service", reader.requiredText("service"), registrations);
    };
    const auto addOne = [&](const std::string& name, void (Registration::*action)()) {
        steering.add(name, [registrationIn, action](SteeringReader& reader) {
            auto* const registration = registrationIn(reader);
            return doing([=] { (registration->*action)(); });
        });
    };
    addOne("require-service-approval", &Registration::requireApproval);
    addOne("approve-service", &Registration::approve);
    addOne("revoke-service", &Registration::revoke);
    steering.add("fail-service", [registrationIn](SteeringReader& reader) {
        auto* const registration = registrationIn(reader);
        const auto error = reader.error("error", "SMAppServiceErrorDomain");
        return doing([=] { registration->failRegistration(error); });
    });
    const auto statusOf = [](Registration& one) { return std::int64_t(one.status()); };
    auto& loginItem = system.serviceManagement.mainAppRegistration();
    auto& helper = system.serviceManagement.daemonRegistration(simulatedHelperPlistName);
    steering.addReport("service-state", [&, statusOf](json::Writer& members) {
        member(members, "login-item", statusOf(loginItem));
        member(members, "helper", statusOf(helper));
    });
    steering.addState("login-item", [&, statusOf] { return statusOf(loginItem); });
    steering.addState("helper", [&, statusOf] { return statusOf(helper); });
}

} // namespace quoxelin
