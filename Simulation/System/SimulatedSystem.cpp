#include "Simulation/System/SimulatedSystem.h"

namespace quoxelin {

SimulatedSystem::SimulatedSystem(Dispatch& dispatch, NotificationCenter& notificationCenter)
    : dispatch(dispatch), notificationCenter(notificationCenter) {
    serviceManagement.daemonRegistration(simulatedHelperPlistName).onChange =
        [this](SMAppServiceStatus status) {
            xpc.setLaunchAllowed(status == SMAppServiceStatus::enabled);
        };
}

Platform SimulatedSystem::platform(Connector& connector) {
    return {dispatch,
            connector,
            notificationCenter,
            systemLog,
            mainBundle,
            userDefaults,
            processInfo,
            fileManager,
            networkExtension,
            systemExtensions,
            serviceManagement,
            xpc,
            userNotificationCenter,
            updates,
            appleScript,
            application,
            statusBar,
            panels,
            workspace,
            pasteboard,
            openPanel,
            appleEventManager};
}

void SimulatedSystem::becomeDemonstration() {
    xpc.setReplyDelay(seconds(0.05));
    xpc.setOutput("up", "quoxelind is running");
    xpc.setOutput("down", "The connection is down.");
    systemExtensions.answerDelay = seconds(0.3);
    networkExtension.answerDelay = seconds(0.02);
    networkExtension.tunnels.connectDuration = seconds(1);
    userNotificationCenter.answer(true);
}

} // namespace quoxelin
