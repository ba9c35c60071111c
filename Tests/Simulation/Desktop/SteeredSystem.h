#pragma once

#include "Simulation/Desktop/SystemCommands.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

namespace quoxelin::testing {

/// A simulated system that obeys the commands of the service and of the desktop.
struct SteeredSystem {
    SteeredSystem() {
        addServiceCommands(steering, system);
        addDesktopCommands(steering, system);
    }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    std::vector<std::string> answers;
    Steering steering{
        [this](Duration delay, Work work) { dispatch.main().asyncAfter(delay, std::move(work)); },
        [this](const std::string& line) { answers.push_back(line); }};
};

} // namespace quoxelin::testing
