#pragma once

#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedFoundation.h"
#include "Simulation/System/SimulatedSystemLog.h"
#include "Tests/Support/SimulatedDaemon.h"
#include "Tests/Support/VirtualDispatch.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// The dependencies of a daemon client: the virtual clock, the daemon, and a logger whose lines can
/// be read back.
struct LinkSurroundings {
    /// The log file cannot be written; tests read the system's log.
    LinkSurroundings() { files.temporary = "/dev/null"; }
    ~LinkSurroundings() { dispatch.endAllWork(); }

    /// "[HashiBus] EOF", in the order of the calls.
    std::vector<std::string> log() const { return systemLog.texts(); }

    VirtualDispatch dispatch;
    SimulatedFileManager files;
    SimulatedSystemLog systemLog;
    AppLogger logger{{dispatch, files, systemLog}};
    SimulatedDaemon daemon{dispatch};

    static constexpr const char* socketPath = "/var/run/quoxelind.socket";
};

class LinkFixture : public ::testing::Test, protected LinkSurroundings {};

} // namespace quoxelin::testing
