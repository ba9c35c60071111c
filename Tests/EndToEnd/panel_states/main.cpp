#include "Platform/Linux/Desktop.h"
#include "Simulation/Desktop/Linux/StandardInput.h"
#include "Simulation/Steering/Steering.h"
#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

using namespace quoxelin;
using namespace quoxelin::testing;

namespace {

/// The time that this thread has worked. It does not grow while other programs run.
std::int64_t microsecondsWorked() {
    std::timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::int64_t{time.tv_sec} * 1'000'000 + time.tv_nsec / 1'000;
}

class States {
  public:
    void addTo(Steering& steering) {
        steering.addReport("states", [] {
            json::Array names;
            for (const auto& state : panelStates())
                names.emplace_back(state.name);
            return json::Object{{"names", std::move(names)}};
        });
        steering.add("show", [this](SteeringReader& reader) -> SteeringEffect {
            return [this, name = reader.requiredText("state")](const SteeringReply& reply) {
                const auto found =
                    std::find_if(panelStates().begin(), panelStates().end(),
                                 [&](const PanelState& state) { return state.name == name; });
                if (found == panelStates().end())
                    return reply.fail("no such state");
                scene = found->scene();
                show();
                reply.ok();
            };
        });
        steering.add("accounts", [this](SteeringReader& reader) -> SteeringEffect {
            return [this, count = reader.requiredInteger("count")](const SteeringReply& reply) {
                std::vector<ProfileInfo> profiles;
                for (std::int64_t i = 0; i < count; ++i)
                    profiles.push_back({"id-" + std::to_string(i),
                                        "account" + std::to_string(i) + "@example.com", i,
                                        std::nullopt, i == 0});
                scene->appState->profiles = profiles;
                reply.ok({{"microseconds", show()}});
            };
        });
        steering.add("long-text", [this](SteeringReader& reader) -> SteeringEffect {
            return [this, field = reader.requiredText("field"),
                    text = reader.requiredText("text")](const SteeringReply& reply) {
                scene->edit([&](LoginViewState& login) {
                    if (field == "name")
                        login.userName = text;
                    else if (field == "host")
                        login.hostName = text;
                    else if (field == "addresses")
                        login.quoxelinIPs = text;
                    else
                        login.jailedReason = text;
                });
                reply.ok({{"microseconds", show()}});
            };
        });
    }

  private:
    /// Shows the scene and returns how long that took, with layout and drawing.
    std::int64_t show() {
        const auto began = microsecondsWorked();
        if (panel == nullptr)
            panel = std::make_unique<PanelOnScreen>(scene->tree());
        else
            panel->show(scene->tree());
        runLoopUntilLaidOut();
        return microsecondsWorked() - began;
    }

    std::unique_ptr<PanelScene> scene;
    std::unique_ptr<PanelOnScreen> panel;
};

} // namespace

/// panel-states: shows the panel as the commands on standard input say, until it is terminated.
int main(int, char** argv) {
    Bus sessionBus(Bus::sessionAddress());
    const Toolkit toolkit(argv[0], sessionBus);
    Steering steering(
        [](Duration delay, Work work) {
            QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(delay),
                               std::move(work));
        },
        [](const std::string& line) {
            std::puts(line.c_str());
            std::fflush(stdout);
        });
    States states;
    states.addTo(steering);
    const StandardInput input([&](std::string_view line) { steering.take(line); },
                              [&] { steering.look(); });
    return QApplication::exec();
}
