#include "Simulation/Desktop/SteeringCommands.h"
#include "Simulation/Steering/SteeringSupport.h"
#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

using namespace steering;

namespace {

std::vector<std::string> texts(const std::vector<std::filesystem::path>& paths) {
    return {paths.begin(), paths.end()};
}

} // namespace

void addWorkspaceCommands(Steering& steering, SimulatedSystem& system) {
    auto& workspace = system.workspace;
    steering.add("refuse-urls", [&](SteeringReader& reader) {
        const auto beginning = reader.text("beginning").value_or("");
        return doing([=, &workspace] { workspace.refuseURLs(beginning); });
    });
    steering.addAction("accept-urls", [&] { workspace.acceptAllURLs(); });
    steering.addReport("opened", [&](json::Writer& members) {
        member(members, "urls", workspace.openedURLs());
        member(members, "tried-urls", workspace.triedURLs());
        member(members, "folders", texts(workspace.openedFolders()));
        member(members, "applications", texts(workspace.openedApplications()));
    });
    steering.addCount("urls",
                      [&] { return static_cast<std::int64_t>(workspace.openedURLs().size()); });
    steering.addCount("folders",
                      [&] { return static_cast<std::int64_t>(workspace.openedFolders().size()); });
    steering.addReport("pasteboard", [&](json::Writer& members) {
        optionalMember(members, "text", system.pasteboard.string());
    });
}

void addOpenPanelCommands(Steering& steering, SimulatedSystem& system) {
    auto& openPanel = system.openPanel;
    const auto answering = [](auto action) -> SteeringEffect {
        return [action](const SteeringReply& reply) {
            if (action())
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

} // namespace quoxelin
