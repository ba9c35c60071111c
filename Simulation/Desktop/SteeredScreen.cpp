#include "Simulation/Desktop/SteeredScreen.h"

#include "Base/NotificationCenter.h"
#include "Platform/NSApplication.h"
#include "Platform/Platform.h"
#include "Simulation/Steering/Steering.h"

#include <algorithm>
#include <cmath>

namespace quoxelin {

namespace {

constexpr const char* absentLabel = "nothing of that label is on the screen";

void press(SteeredScreen& screen, const std::string& label, const SteeringReply& reply) {
    switch (screen.press(label)) {
    case SteeredScreen::Press::done:
        return reply.ok();
    case SteeredScreen::Press::absent:
        return reply.fail(absentLabel);
    case SteeredScreen::Press::disabled:
        return reply.fail("what bears that label cannot be pressed");
    }
}

void savePicture(const SteeredScreen& screen, const std::string& path, const SteeringReply& reply) {
    switch (screen.savePicture(path)) {
    case SteeredScreen::Picture::saved:
        return reply.ok();
    case SteeredScreen::Picture::empty:
        return reply.fail("nothing is on the screen");
    case SteeredScreen::Picture::failed:
        return reply.fail("the picture could not be written");
    }
}

json::Object membersOf(const NSRect& place) {
    const auto length = [](double value) { return std::lround(std::max(0.0, value)); };
    return {{"x", length(place.x)},
            {"y", length(place.y)},
            {"width", length(place.width)},
            {"height", length(place.height)}};
}

json::Object membersOfPanel(const SteeredScreen& screen) {
    const auto place = screen.panel();
    auto members = place ? membersOf(*place) : json::Object();
    members.insert(members.begin(), {"visible", place.has_value()});
    return members;
}

} // namespace

void addScreenCommands(Steering& steering, SteeredScreen& screen, const Platform& platform) {
    steering.addReport("text", [&]() -> json::Object {
        const auto texts = screen.texts();
        return {{"texts", json::Array(texts.begin(), texts.end())}};
    });
    steering.add("press", [&](SteeringReader& reader) {
        const auto label = reader.requiredText("label");
        return [label, &screen](const SteeringReply& reply) { press(screen, label, reply); };
    });
    steering.add("snapshot", [&](SteeringReader& reader) {
        const auto path = reader.requiredText("path");
        return [path, &screen](const SteeringReply& reply) { savePicture(screen, path, reply); };
    });
    steering.add("where", [&](SteeringReader& reader) {
        const auto label = reader.requiredText("label");
        return [label, &screen](const SteeringReply& reply) {
            if (const auto place = screen.placeOf(label))
                reply.ok(membersOf(*place));
            else
                reply.fail(absentLabel);
        };
    });
    steering.addReport("panel", [&] { return membersOfPanel(screen); });
    steering.addState("panel-visible", [&] { return screen.panel() ? 1 : 0; });
    steering.addAction("click-elsewhere", [&] { screen.pressElsewhere(); });
    steering.addAction("become-active", [&center = platform.notificationCenter] {
        center.post(NSApplicationDidBecomeActiveNotification);
    });
    steering.addAction("quit", [&application = platform.application] { application.terminate(); });
}

} // namespace quoxelin
