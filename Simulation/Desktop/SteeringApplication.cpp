#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/SteeringSupport.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

using namespace steering;

void addApplicationCommands(Steering& steering, SimulatedSystem& system) {
    auto& application = system.application;
    steering.addAction("become-active", [&] { application.becomeActive(); });
    steering.addAction("quit", [&] { application.terminate(); });
    steering.add("open-url", [&](SteeringReader& reader) {
        const auto url = reader.text("url");
        return doing([=, &system] { system.appleEventManager.sendGetURL(url); });
    });
    steering.add("choose-menu-item", [&](SteeringReader& reader) {
        const auto title = reader.requiredText("title");
        return [=, &application](const SteeringReply& reply) {
            if (application.chooseMenuItem(title))
                reply.ok();
            else
                reply.fail("the main menu has no item of that title");
        };
    });
    steering.addReport("main-menu", [&](json::Writer& members) {
        objects(members, "items", application.mainMenu(), [&](const auto& item) {
            member(members, "title", item.title);
            member(members, "key", item.keyEquivalent);
        });
    });
}

void addStatusItemCommands(Steering& steering, SimulatedSystem& system) {
    steering.add("click-status-item", [&](SteeringReader& reader) {
        if (system.statusBar.button() == nullptr)
            reader.fail("there is no button in the status bar");
        return doing([&] { system.statusBar.button()->click(); });
    });
}

void addPanelCommands(Steering& steering, SimulatedSystem& system) {
    steering.addAction("click-elsewhere", [&] { system.panels.pressElsewhere(); });
    steering.addReport("panel", [&](json::Writer& members) {
        const auto* const panel = system.panels.panel();
        member(members, "visible", panel != nullptr && panel->isVisible());
    });
    steering.addState("panel-visible", [&]() -> std::int64_t {
        const auto* const panel = system.panels.panel();
        return panel != nullptr && panel->isVisible() ? 1 : 0;
    });
}

void addAllCommands(Steering& steering, SimulatedSystem& system) {
    addServiceCommands(steering, system);
    addWorkspaceCommands(steering, system);
    addOpenPanelCommands(steering, system);
    addApplicationCommands(steering, system);
    addStatusItemCommands(steering, system);
    addPanelCommands(steering, system);
}

} // namespace quoxelin
