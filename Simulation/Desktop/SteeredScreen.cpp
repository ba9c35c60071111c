#include "Simulation/Desktop/SteeredScreen.h"

#include "Base/NotificationCenter.h"
#include "Platform/NSApplication.h"
#include "Platform/Platform.h"
#include "Simulation/Steering/SteeringSupport.h"

#include <algorithm>
#include <cmath>

namespace quoxelin {

using namespace steering;

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

void writePlace(json::Writer& members, const NSRect& place) {
    const auto length = [&members](const char* key, double value) {
        count(members, key, static_cast<std::size_t>(std::lround(std::max(0.0, value))));
    };
    length("x", place.x);
    length("y", place.y);
    length("width", place.width);
    length("height", place.height);
}

void tellPlace(const SteeredScreen& screen, const std::string& label, const SteeringReply& reply) {
    const auto place = screen.placeOf(label);
    if (!place)
        return reply.fail(absentLabel);
    reply.ok([&](json::Writer& members) { writePlace(members, *place); });
}

} // namespace

void addScreenCommands(Steering& steering, SteeredScreen& screen, const Platform& platform) {
    steering.addReport("text",
                       [&](json::Writer& members) { member(members, "texts", screen.texts()); });
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
        return [label, &screen](const SteeringReply& reply) { tellPlace(screen, label, reply); };
    });
    steering.addReport("panel", [&](json::Writer& members) {
        const auto place = screen.panel();
        member(members, "visible", place.has_value());
        if (place)
            writePlace(members, *place);
    });
    steering.addState("panel-visible", [&] { return screen.panel() ? 1 : 0; });
    steering.addAction("click-elsewhere", [&] { screen.pressElsewhere(); });
    steering.addAction("become-active", [&center = platform.notificationCenter] {
        center.post(NSApplicationDidBecomeActiveNotification);
    });
    steering.addAction("quit", [&application = platform.application] { application.terminate(); });
    steering.add("open-url", [&](SteeringReader& reader) {
        const auto url = reader.text("url");
        return doing([url, &screen] { screen.openURL(url); });
    });
}

} // namespace quoxelin
