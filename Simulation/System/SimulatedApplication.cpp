#include "Simulation/System/SimulatedApplication.h"

#include <algorithm>

namespace quoxelin {

int SimulatedApplication::run(NSApplicationDelegate& newDelegate) {
    launch(newDelegate);
    while (!terminated && runLoop)
        runLoop();
    return 0;
}

void SimulatedApplication::launch(NSApplicationDelegate& newDelegate) {
    delegate = &newDelegate;
    delegate->applicationDidFinishLaunching();
}

void SimulatedApplication::terminate() {
    if (terminating)
        return;
    terminating = true;
    dispatch.main().async(lifetime.weakly([this] {
        if (delegate != nullptr)
            delegate->applicationWillTerminate();
        terminated = true;
    }));
}

void SimulatedApplication::activateIgnoringOtherApps() {
    ++activated;
    if (!active)
        dispatch.main().async(lifetime.weakly([this] { becomeActive(); }));
}

void SimulatedApplication::becomeActive() {
    active = true;
    notificationCenter.post(NSApplicationDidBecomeActiveNotification);
}

bool SimulatedApplication::chooseMenuItem(const std::string& title) {
    const auto found = std::find_if(menu.begin(), menu.end(),
                                    [&](const auto& item) { return item.title == title; });
    if (found == menu.end())
        return false;
    const auto item = *found;
    if (item.target)
        item.target();
    else if (item.action == "terminate:")
        terminate();
    else
        performed.push_back(item.action);
    return true;
}

} // namespace quoxelin
