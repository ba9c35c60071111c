#pragma once

#include "Base/NotificationCenter.h"
#include "Platform/Platform.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Stores/AppViewState.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/SimulatedDaemon.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VirtualDispatch.h"

#include <memory>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// A whole simulated machine with the application's services and store: virtual clock, simulated
/// system, daemon in memory. Nothing has happened on it yet.
struct Surroundings {
    Surroundings();
    ~Surroundings() { dispatch.endAllWork(); }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    /// The log lines as "[App] message", in the order of the calls.
    std::vector<std::string> log() const { return system.systemLog.texts(); }

    TemporaryDirectory directory;
    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    SimulatedDaemon daemon{dispatch};
    Platform platform;
    AppLogger logger;
    LocalAPIClient localAPI;
    std::unique_ptr<VPNTunnelService> tunnel;
    std::shared_ptr<SystemExtensionService> systemExtension;
    std::shared_ptr<AppViewState> appState;

  private:
    NSFileManager& fileManager();
};

} // namespace quoxelin::testing
