#include "Simulation/Desktop/SystemCommands.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

namespace {

template <typename List>
json::Array arrayOf(const List& list) {
    json::Array texts;
    for (const auto& text : list)
        texts.emplace_back(std::string(text));
    return texts;
}

void addHelperCommands(Steering& steering, SimulatedXPC& xpc) {
    steering.add("helper", [&](SteeringReader& reader) {
        using Helper = SimulatedXPC::Helper;
        std::optional<Helper> state;
        if (reader.has("state"))
            state = reader.named<Helper>("state", {{"answering", Helper::answering},
                                                   {"silent", Helper::silent},
                                                   {"missing", Helper::missing},
                                                   {"incompatible", Helper::incompatible}});
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
    steering.addReport("helper-messages", [&]() -> json::Object {
        json::Array messages;
        for (const auto& message : xpc.messages())
            messages.emplace_back(
                json::Object{{"path", message.path}, {"arguments", arrayOf(message.arguments)}});
        return {{"messages", messages}};
    });
    steering.addCount("helper-messages", [&] { return xpc.messages().size(); });
}

void addRegistrationCommands(Steering& steering, SimulatedServiceManagement& services) {
    using Registration = SimulatedServiceManagement::Registration;
    auto& loginItem = services.mainAppRegistration();
    auto& helper = services.daemonRegistration(simulatedHelperPlistName);
    const auto registrationIn = [&](SteeringReader& reader) {
        return reader.named<Registration*>("service",
                                           {{"login-item", &loginItem}, {"helper", &helper}});
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
    steering.addReport("service-state", [&]() -> json::Object {
        return {{"login-item", loginItem.status()}, {"helper", helper.status()}};
    });
    steering.addState("login-item", [&] { return loginItem.status(); });
    steering.addState("helper", [&] { return helper.status(); });
}

void addNotificationCommands(Steering& steering, SimulatedUserNotificationCenter& center) {
    steering.add("answer-notifications", [&](SteeringReader& reader) {
        const auto granted = reader.flag("granted").value_or(true);
        return doing([=, &center] { center.answer(granted); });
    });
    steering.addAction("forget-notifications-answer", [&] { center.forgetAnswer(); });
    steering.add("fail-notifications", [&](SteeringReader& reader) {
        const auto error = reader.error("error", "UNErrorDomain");
        return doing([=, &center] { center.failAuthorization(error); });
    });
    steering.addReport("notifications", [&]() -> json::Object {
        json::Array delivered;
        for (const auto& [request, options] : center.delivered())
            delivered.emplace_back(json::Object{{"identifier", request.identifier},
                                                {"title", request.title},
                                                {"body", request.body}});
        return {{"added", center.requests().size()}, {"delivered", delivered}};
    });
    steering.addCount("notifications", [&] { return center.delivered().size(); });
}

void addUpdateCommands(Steering& steering, SimulatedUpdates& updates) {
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
    steering.addReport("update-checks", [&]() -> json::Object {
        json::Array checks;
        for (const auto& offered : updates.checks())
            checks.emplace_back(offered ? json::Object{{"offered", *offered}} : json::Object());
        return {{"checks", checks}};
    });
    steering.addCount("update-checks", [&] { return updates.checks().size(); });
}

void addScriptCommands(Steering& steering, SimulatedAppleScript& scripts) {
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
    steering.addReport("scripts", [&]() -> json::Object {
        return {{"executed", arrayOf(scripts.executedSources())},
                {"asking", scripts.isAskingForPassword()}};
    });
    steering.addCount("scripts", [&] { return scripts.executedSources().size(); });
}

void addOpenPanelCommands(Steering& steering, SimulatedOpenPanel& openPanel) {
    const auto answering = [](auto answer) -> SteeringEffect {
        return [answer](const SteeringReply& reply) {
            if (answer())
                reply.ok();
            else
                reply.fail("no open panel is shown");
        };
    };
    steering.add("choose-folder", [&, answering](SteeringReader& reader) {
        const auto path = reader.requiredText("path");
        return answering([=, &openPanel] { return openPanel.choose(path); });
    });
    steering.add("cancel-open-panel", [&, answering](SteeringReader&) {
        return answering([&] { return openPanel.cancel(); });
    });
    steering.addState("open-panels", [&] { return static_cast<std::int64_t>(openPanel.shown()); });
}

} // namespace

void addServiceCommands(Steering& steering, SimulatedSystem& system) {
    addExtensionCommands(steering, system);
    addTunnelCommands(steering, system);
    addHelperCommands(steering, system.xpc);
    addRegistrationCommands(steering, system.serviceManagement);
    addNotificationCommands(steering, system.userNotificationCenter);
    addUpdateCommands(steering, system.updates);
    addScriptCommands(steering, system.appleScript);
}

void addDesktopCommands(Steering& steering, SimulatedSystem& system) {
    auto& workspace = system.workspace;
    steering.add("refuse-urls", [&](SteeringReader& reader) {
        const auto beginning = reader.text("beginning").value_or("");
        return doing([=, &workspace] { workspace.refuseURLs(beginning); });
    });
    steering.addAction("accept-urls", [&] { workspace.acceptAllURLs(); });
    steering.addReport("opened", [&]() -> json::Object {
        return {{"urls", arrayOf(workspace.openedURLs())},
                {"tried-urls", arrayOf(workspace.triedURLs())},
                {"folders", arrayOf(workspace.openedFolders())},
                {"applications", arrayOf(workspace.openedApplications())}};
    });
    steering.addCount("urls", [&] { return workspace.openedURLs().size(); });
    steering.addCount("folders", [&] { return workspace.openedFolders().size(); });
    steering.addReport("pasteboard", [&]() -> json::Object {
        const auto& text = system.pasteboard.string();
        return text ? json::Object{{"text", *text}} : json::Object();
    });
    steering.add("click-status-item", [&](SteeringReader& reader) {
        if (system.statusBar.button() == nullptr)
            reader.fail("there is no button in the status bar");
        return doing([&] { system.statusBar.button()->click(); });
    });
    addOpenPanelCommands(steering, system.openPanel);
}

} // namespace quoxelin
