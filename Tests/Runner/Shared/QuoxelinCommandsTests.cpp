#include "Runner/Shared/QuoxelinCommands.h"

#include "Tests/Support/HelperFixture.h"

namespace quoxelin::testing {

class QuoxelinCommandsTest : public HelperFixture {
  protected:
    QuoxelinCommands makeCommands() {
        return QuoxelinCommands({system.systemLog, system.xpc, system.mainBundle});
    }

    Completion<bool, QuoxelinExecError> success() {
        return [this](auto result) {
            successes.push_back(result);
            completedOnMain = dispatch.isMainThread();
        };
    }

    Completion<HashiStatus, QuoxelinExecError> status() {
        return [this](auto result) {
            statuses.push_back(result);
            completedOnMain = dispatch.isMainThread();
        };
    }

    /// The log lines of a command to a working helper, without the command's own first and last
    /// lines.
    static Lines connecting(const std::string& path, const std::string& arguments) {
        return {"Creating XPC connection to: com.quoxelin.desktop.Helper",
                "XPC connection resumed: com.quoxelin.desktop.Helper",
                "Invoking runGoTool path=" + path + " args=" + arguments};
    }

    static Lines joined(std::initializer_list<Lines> parts) {
        Lines whole;
        for (const auto& part : parts)
            whole.insert(whole.end(), part.begin(), part.end());
        return whole;
    }

    const Lines invalidated = {"XPC connection invalidated: com.quoxelin.desktop.Helper"};
    std::vector<Result<bool, QuoxelinExecError>> successes;
    std::vector<Result<HashiStatus, QuoxelinExecError>> statuses;
    bool completedOnMain = true;
};

TEST_F(QuoxelinCommandsTest, bringsTheConnectionUp) {
    system.xpc.setOutput("up", "ok");
    makeCommands().execQuoxelinUp(success());
    EXPECT_TRUE(successes.empty());
    dispatch.runUntilIdle();
    ASSERT_EQ(successes.size(), 1u);
    EXPECT_EQ(successes[0], true);
    EXPECT_FALSE(completedOnMain);
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelin, {"up"})}));
    EXPECT_EQ(system.systemLog.texts(), joined({{"execQuoxelinUp()"},
                                                connecting(quoxelin, "up"),
                                                {"runGoTool output (up): ok"},
                                                invalidated}));
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(QuoxelinCommandsTest, invalidatesTheConnectionBeforeItPassesTheReplyOn) {
    std::optional<std::size_t> open;
    makeCommands().execQuoxelinUp([&](const auto&) { open = system.xpc.openConnections(); });
    dispatch.runUntilIdle();
    EXPECT_EQ(open, 0u);
}

TEST_F(QuoxelinCommandsTest, logsEachStepWhereItHappens) {
    noteEachLogLine();
    makeCommands().execQuoxelinStatus([this](const auto&) { note("completed"); });
    dispatch.runUntilIdle();
    EXPECT_EQ(notes,
              (Lines{"0 open, 0 sent: execQuoxelinStatus()",
                     "0 open, 0 sent: Creating XPC connection to: com.quoxelin.desktop.Helper",
                     "1 open, 0 sent: XPC connection resumed: com.quoxelin.desktop.Helper",
                     "1 open, 0 sent: Invoking runGoTool path=" + std::string(quoxelin) +
                         " args=status -json=true",
                     "1 open, 1 sent: runGoTool output (status): ",
                     "0 open, 1 sent: Failed to decode HashiStatus from output",
                     "0 open, 1 sent: completed",
                     "0 open, 1 sent: XPC connection invalidated: com.quoxelin.desktop.Helper"}));
}

TEST_F(QuoxelinCommandsTest, invalidatesAConnectionWithoutAHelperBeforeItFails) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    noteEachLogLine();
    makeCommands().execQuoxelinUp([this](const auto&) { note("completed"); });
    dispatch.runUntilIdle();
    EXPECT_EQ((Lines{notes.begin() + 3, notes.end()}),
              (Lines{"1 open, 0 sent: Failed to obtain HelperToolProtocol proxy for: "
                     "com.quoxelin.desktop.Helper",
                     "0 open, 0 sent: completed",
                     "0 open, 0 sent: XPC connection invalidated: com.quoxelin.desktop.Helper"}));
}

TEST_F(QuoxelinCommandsTest, bringsTheConnectionDown) {
    system.xpc.setOutput("down", "failed, but that is the tool's affair");
    makeCommands().execQuoxelinDown(success());
    dispatch.runUntilIdle();
    ASSERT_EQ(successes.size(), 1u);
    EXPECT_EQ(successes[0], true);
    EXPECT_EQ(system.systemLog.texts(),
              joined({{"execQuoxelinDown()"},
                      connecting(quoxelin, "down"),
                      {"runGoTool output (down): failed, but that is the tool's affair"},
                      invalidated}));
}

TEST_F(QuoxelinCommandsTest, logsUnderTheBundlesIdentifier) {
    makeCommands().execQuoxelinUp(success());
    dispatch.runUntilIdle();
    for (const auto& entry : system.systemLog.entries()) {
        EXPECT_EQ(entry.subsystem, "com.quoxelin.desktop");
        EXPECT_EQ(entry.category, "XPC");
    }
}

TEST_F(QuoxelinCommandsTest, logsUnderTheProductsNameWithoutAnIdentifier) {
    system.mainBundle.identifier.reset();
    makeCommands().execQuoxelinUp(success());
    EXPECT_EQ(system.systemLog.entries().front(),
              (SimulatedSystemLog::Entry{"Quoxelin", "XPC", "execQuoxelinUp()"}));
}

TEST_F(QuoxelinCommandsTest, asksForTheDaemonWithoutWaiting) {
    system.mainBundle.infoDictionary["QXConductorURL"] = "https://conductor.example";
    system.mainBundle.infoDictionary["QXSignalURL"] = "https://signal.example";
    system.xpc.setReplyDelay(seconds(9));
    EXPECT_TRUE(makeCommands().execQuoxelindUp());
    const std::vector<std::string> arguments = {"up", "--conductor-host",
                                                "https://conductor.example", "--signal-host",
                                                "https://signal.example"};
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelind, arguments)}));
    EXPECT_EQ(system.xpc.openConnections(), 1u);
    dispatch.advance(seconds(9));
    EXPECT_EQ(system.systemLog.texts(),
              joined({connecting(quoxelind, "up --conductor-host https://conductor.example "
                                            "--signal-host https://signal.example"),
                      {"runGoTool output (up): "},
                      invalidated}));
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(QuoxelinCommandsTest, leavesOutHostsThatAreEmptyOrMissing) {
    system.mainBundle.infoDictionary["QXSignalURL"] = "";
    EXPECT_TRUE(makeCommands().execQuoxelindUp());
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelind, {"up"})}));
}

TEST_F(QuoxelinCommandsTest, sendsAnEmptyPathForAMissingExecutable) {
    system.mainBundle.resources.clear();
    auto commands = makeCommands();
    EXPECT_TRUE(commands.execQuoxelindUp());
    commands.execQuoxelinDown(success());
    EXPECT_EQ(system.xpc.messages(), (std::vector{message("", {"up"}), message("", {"down"})}));
}

TEST_F(QuoxelinCommandsTest, failEveryCommandWithoutAHelper) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    auto commands = makeCommands();
    EXPECT_FALSE(commands.execQuoxelindUp());
    commands.execQuoxelinUp(success());
    commands.execQuoxelinDown(success());
    commands.execQuoxelinLogin(status());
    commands.execQuoxelinStatus(status());
    dispatch.runUntilIdle();
    EXPECT_EQ(successes, (std::vector<Result<bool, QuoxelinExecError>>(
                             2, tl::unexpected(QuoxelinExecError::connectionFailed))));
    EXPECT_EQ(statuses, (std::vector<Result<HashiStatus, QuoxelinExecError>>(
                            2, tl::unexpected(QuoxelinExecError::connectionFailed))));
    EXPECT_TRUE(system.xpc.messages().empty());
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(QuoxelinCommandsTest, logsThatThereIsNoHelper) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    EXPECT_FALSE(makeCommands().execQuoxelindUp());
    dispatch.runUntilIdle();
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"Creating XPC connection to: com.quoxelin.desktop.Helper",
                     "XPC connection resumed: com.quoxelin.desktop.Helper",
                     "Failed to obtain HelperToolProtocol proxy for: com.quoxelin.desktop.Helper",
                     "XPC connection invalidated: com.quoxelin.desktop.Helper"}));
}

TEST_F(QuoxelinCommandsTest, decodesTheStatusThatTheToolPrints) {
    system.xpc.setOutput("status", R"({"backend_state":"Running"})");
    auto commands = makeCommands();
    ::testing::internal::CaptureStdout();
    commands.execQuoxelinStatus(status());
    dispatch.runUntilIdle();
    ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(statuses.size(), 1u);
    ASSERT_TRUE(statuses[0].has_value());
    EXPECT_EQ(statuses[0]->backendState, "Running");
    EXPECT_FALSE(completedOnMain);
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelin, {"status", "-json=true"})}));
    EXPECT_EQ(system.systemLog.texts(),
              joined({{"execQuoxelinStatus()"},
                      connecting(quoxelin, "status -json=true"),
                      {R"(runGoTool output (status): {"backend_state":"Running"})"},
                      invalidated}));
}

TEST_F(QuoxelinCommandsTest, decodesTheStatusThatALoginPrints) {
    system.xpc.setOutput("login", R"({"backend_state":"NeedsLogin",)"
                                  R"("interactive_login_url":"https://login.example/a"})");
    auto commands = makeCommands();
    ::testing::internal::CaptureStdout();
    commands.execQuoxelinLogin(status());
    dispatch.runUntilIdle();
    ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(statuses.size(), 1u);
    ASSERT_TRUE(statuses[0].has_value());
    EXPECT_EQ(statuses[0]->interactiveLoginURL, "https://login.example/a");
    EXPECT_EQ(system.systemLog.texts()[0], "execQuoxelinLogin()");
    EXPECT_EQ(system.systemLog.texts()[3],
              "Invoking runGoTool path=" + std::string(quoxelin) + " args=login -json=true");
}

TEST_F(QuoxelinCommandsTest, failsIfTheOutputIsNotAStatus) {
    for (const auto* const output :
         {"", "not logged in", "{}", R"({"backend_state":1})", "\xFF", "[]"}) {
        system.xpc.setOutput("status", output);
        system.xpc.setOutput("login", output);
        system.systemLog.clear();
        statuses.clear();
        auto commands = makeCommands();
        ::testing::internal::CaptureStdout();
        commands.execQuoxelinStatus(status());
        dispatch.runUntilIdle();
        commands.execQuoxelinLogin(status());
        dispatch.runUntilIdle();
        ::testing::internal::GetCapturedStdout();
        EXPECT_EQ(statuses, (std::vector<Result<HashiStatus, QuoxelinExecError>>(
                                2, tl::unexpected(QuoxelinExecError::decodingFailed))))
            << output;
        const auto lines = system.systemLog.texts();
        ASSERT_EQ(lines.size(), 14u);
        EXPECT_EQ(
            std::count(lines.begin(), lines.end(), "Failed to decode HashiStatus from output"), 2);
    }
}

TEST_F(QuoxelinCommandsTest, staySuspendedWhileTheHelperNeverReplies) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    auto commands = makeCommands();
    commands.execQuoxelinStatus(status());
    commands.execQuoxelinUp(success());
    dispatch.advance(seconds(100'000));
    EXPECT_TRUE(statuses.empty());
    EXPECT_TRUE(successes.empty());
}

TEST_F(QuoxelinCommandsTest, onlyLogThatTheHelperDied) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    auto commands = makeCommands();
    commands.execQuoxelinUp(success());
    system.xpc.killHelper();
    dispatch.runUntilIdle();
    EXPECT_TRUE(successes.empty());
    const auto lines = system.systemLog.texts();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[4], "remoteObjectProxy error: Error Domain=NSCocoaErrorDomain Code=4097 "
                        "\"Couldn’t communicate with a helper application: connection to service "
                        "named com.quoxelin.desktop.Helper\"");
    EXPECT_EQ(lines[5], "XPC connection interrupted: com.quoxelin.desktop.Helper");
}

TEST_F(QuoxelinCommandsTest, completeAfterDestruction) {
    system.xpc.setReplyDelay(seconds(1));
    system.xpc.setOutput("status", "?");
    {
        auto commands = makeCommands();
        commands.execQuoxelinStatus(status());
        commands.execQuoxelinUp(success());
    }
    ::testing::internal::CaptureStdout();
    dispatch.advance(seconds(1));
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(statuses.size(), 1u);
    EXPECT_EQ(successes.size(), 1u);
}

} // namespace quoxelin::testing
