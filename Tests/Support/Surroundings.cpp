#include "Tests/Support/Surroundings.h"

namespace quoxelin::testing {

Surroundings::Surroundings()
    : platform(system.platform(daemon)), logger({dispatch, fileManager(), system.systemLog}),
      localAPI({dispatch, daemon, logger}, platform.daemonSocketPath),
      tunnel(std::make_unique<VPNTunnelService>(VPNTunnelService::Dependencies{
          dispatch, logger, system.networkExtension, notificationCenter, system.mainBundle,
          system.processInfo})),
      systemExtension(std::make_shared<SystemExtensionService>(SystemExtensionService::Dependencies{
          dispatch, logger, system.systemExtensions, notificationCenter, system.mainBundle,
          system.processInfo, system.workspace})),
      appState(AppViewState::make(
          {dispatch, logger, localAPI, *tunnel, *systemExtension, system.userNotificationCenter,
           system.workspace, system.appleScript, system.serviceManagement, system.userDefaults,
           system.fileManager, system.application},
          std::make_shared<HashiBusClient>(HashiBusClient::Dependencies{dispatch, daemon, logger},
                                           platform.daemonSocketPath))) {}

NSFileManager& Surroundings::fileManager() {
    system.fileManager.applicationSupport = {directory.path() / "Application Support"};
    return system.fileManager;
}

} // namespace quoxelin::testing
