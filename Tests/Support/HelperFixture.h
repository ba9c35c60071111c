#pragma once

#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

/// A simulated system on virtual time, for tests of the privileged helper's clients.
class HelperFixture : public ::testing::Test {
  protected:
    using Lines = std::vector<std::string>;
    using Message = SimulatedXPC::Message;

    static constexpr const char* service = "com.quoxelin.desktop.Helper";
    static constexpr const char* quoxelin =
        "/Applications/Quoxelin.app/Contents/Resources/quoxelin";
    static constexpr const char* quoxelind =
        "/Applications/Quoxelin.app/Contents/Resources/quoxelind";

    static Message message(const std::string& path, std::vector<std::string> arguments) {
        return {service, path, std::move(arguments), false};
    }

    /// Notes what happens together with the open connections and the messages that were sent.
    void note(const std::string& event) {
        notes.push_back(fmt::format("{} open, {} sent: {}", system.xpc.openConnections(),
                                    system.xpc.messages().size(), event));
    }
    void noteEachLogLine() {
        system.systemLog.onEntry = [this](const auto& entry) { note(entry.text); };
    }

    Lines notes;
    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
};

} // namespace quoxelin::testing
