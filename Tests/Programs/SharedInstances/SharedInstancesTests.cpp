#include "Base/Dispatch.h"
#include "Platform/Platform.h"
#include "Runner/AppDelegate.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/QuoxelinCLI.h"
#include "Runner/Shared/QuoxelinCommands.h"
#include "Runner/Stores/AppViewState.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/SimulatedDaemon.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <thread>

namespace quoxelin::testing {

namespace {

/// A machine that lives as long as the process, because the shared instances use it.
struct Machine {
    Machine() {
        system.fileManager.applicationSupport = {directory.path()};
        Platform::use(platform);
    }

    TemporaryDirectory directory;
    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    SimulatedDaemon daemon{dispatch};
    Platform platform = system.platform(daemon);
};

Machine& machine() {
    static Machine machine;
    return machine;
}

} // namespace

TEST(SharedInstances, needAPlatformFirst) {
    EXPECT_DEATH(static_cast<void>(AppLogger::shared()),
                 "a shared instance was asked for before main\\(\\) chose the platform");
}

TEST(SharedInstances, useThePlatformOfTheProcess) {
    const auto& platform = machine().platform;
    EXPECT_EQ(&platform, &Platform::current());
    EXPECT_EQ(AppLogger::shared().path(),
              (machine().directory.path() / "Quoxelin" / "app.log").string());
    QuoxelinCLI::shared().down();
    EXPECT_TRUE(QuoxelinCommands::shared().execQuoxelindUp());
    EXPECT_EQ(machine().system.xpc.messages().size(), 2u);
    machine().dispatch.runUntilIdle();
    EXPECT_EQ(&QuoxelinCLI::shared(), &QuoxelinCLI::shared());
    EXPECT_EQ(&QuoxelinCommands::shared(), &QuoxelinCommands::shared());
}

TEST(SharedInstances, areThoseThatTheApplicationUses) {
    auto& platform = machine().platform;
    const auto shared = AppDelegate::Dependencies::fromCurrentPlatform();
    EXPECT_EQ(&shared.platform, &platform);
    EXPECT_EQ(&shared.logger, &AppLogger::shared());
    ASSERT_NE(shared.systemExtension, nullptr);
    ASSERT_NE(shared.appState, nullptr);
    EXPECT_EQ(shared.systemExtension, SystemExtensionService::shared());
    EXPECT_EQ(shared.appState, AppViewState::shared());
    shared.appState->start();
    machine().dispatch.runUntilIdle();
    EXPECT_EQ(machine().daemon.lastPath(), platform.daemonSocketPath);
}

TEST(SharedInstances, areTheSameForAllThreads) {
    machine();
    std::array<AppLogger*, 8> loggers{};
    std::vector<std::thread> threads;
    for (auto& logger : loggers)
        threads.emplace_back([&logger] { logger = &AppLogger::shared(); });
    for (auto& thread : threads)
        thread.join();
    for (const auto* const logger : loggers)
        EXPECT_EQ(logger, &AppLogger::shared());
}

} // namespace quoxelin::testing
