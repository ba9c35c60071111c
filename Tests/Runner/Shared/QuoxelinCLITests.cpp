#include "Runner/Shared/QuoxelinCLI.h"

#include "Runner/Shared/AppLogger.h"
#include "Tests/Support/HelperFixture.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace quoxelin::testing {

class QuoxelinCLITest : public HelperFixture {
  protected:
    QuoxelinCLITest() { system.fileManager.temporary = home.path(); }

    QuoxelinCLI makeCLI() { return QuoxelinCLI({logger(), system.xpc, system.mainBundle}); }

    AppLogger& logger() {
        if (!appLogger)
            appLogger = std::make_unique<AppLogger>(
                AppLogger::Dependencies{dispatch, system.fileManager, system.systemLog});
        return *appLogger;
    }

    /// Sends a ping and counts its answers.
    void ping(QuoxelinCLI& cli) {
        cli.ping([this](bool reachable) {
            answers.push_back(reachable);
            answeredAt = dispatch.now();
            answeredOnMain = dispatch.isMainThread();
        });
    }

    TemporaryDirectory home;
    std::unique_ptr<AppLogger> appLogger;
    std::vector<bool> answers;
    Duration answeredAt{-1};
    bool answeredOnMain = true;
};

TEST_F(QuoxelinCLITest, startsTheDaemonWithBothHosts) {
    system.mainBundle.infoDictionary["QXSignalURL"] = "https://signal.example";
    system.mainBundle.infoDictionary["QXConductorURL"] = "https://conductor.example";
    system.xpc.setOutput("up", "started\n");
    makeCLI().up();
    dispatch.runUntilIdle();
    EXPECT_EQ(
        system.xpc.messages(),
        (std::vector{message(quoxelind, {"up", "--conductor-host", "https://conductor.example",
                                         "--signal-host", "https://signal.example"})}));
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[CLI] Invoking quoxelind up via Helper at path: " + std::string(quoxelind) +
                         ", args: up --conductor-host https://conductor.example --signal-host "
                         "https://signal.example",
                     "[CLI] quoxelind up output: started\n",
                     "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(QuoxelinCLITest, leavesOutHostsThatAreEmptyOrMissing) {
    system.mainBundle.infoDictionary["QXConductorURL"] = "";
    makeCLI().up();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelind, {"up"})}));
    EXPECT_EQ(system.systemLog.texts().front(), "[CLI] Invoking quoxelind up via Helper at path: " +
                                                    std::string(quoxelind) + ", args: up");
}

TEST_F(QuoxelinCLITest, passesTheOneHostThatIsThere) {
    system.mainBundle.infoDictionary["QXSignalURL"] = "s";
    makeCLI().up();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.xpc.messages(),
              (std::vector{message(quoxelind, {"up", "--signal-host", "s"})}));
}

TEST_F(QuoxelinCLITest, sendsNothingWithoutADaemonInTheBundle) {
    system.mainBundle.resources.erase("quoxelind");
    makeCLI().up();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[CLI] ERROR: quoxelind binary not found in Bundle"}));
    EXPECT_EQ(system.xpc.connectionsMade(), 0u);
}

TEST_F(QuoxelinCLITest, looksItsExecutablesUpOnce) {
    auto cli = makeCLI();
    system.mainBundle.resources.clear();
    cli.up();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelind, {"up"})}));
}

TEST_F(QuoxelinCLITest, bringsTheConnectionDown) {
    system.xpc.setOutput("down", "Success.");
    makeCLI().down();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.xpc.messages(), (std::vector{message(quoxelin, {"down"})}));
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[CLI] quoxelin down output: Success.",
                     "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
}

TEST_F(QuoxelinCLITest, logsEachStepWhereItHappens) {
    auto cli = makeCLI();
    noteEachLogLine();
    cli.up();
    dispatch.runUntilIdle();
    EXPECT_EQ(notes,
              (Lines{"0 open, 0 sent: [CLI] Invoking quoxelind up via Helper at path: " +
                         std::string(quoxelind) + ", args: up",
                     "1 open, 1 sent: [CLI] quoxelind up output: ",
                     "0 open, 1 sent: [XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
}

TEST_F(QuoxelinCLITest, sendsDownEvenWithoutTheToolInTheBundle) {
    system.mainBundle.resources.clear();
    makeCLI().down();
    dispatch.runUntilIdle();
    EXPECT_EQ(system.xpc.messages(), (std::vector{message("", {"down"})}));
}

TEST_F(QuoxelinCLITest, treatsAnyReplyToAPingAsSuccess) {
    for (const auto* const output : {"", "Usage: quoxelind", "error: no such command"}) {
        system.xpc.setOutput("--help", output);
        auto cli = makeCLI();
        answers.clear();
        ping(cli);
        dispatch.runUntilIdle();
        EXPECT_EQ(answers, std::vector{true}) << output;
        EXPECT_FALSE(answeredOnMain);
    }
    EXPECT_EQ(system.xpc.messages().front(), message(quoxelind, {"--help"}));
    EXPECT_EQ(system.xpc.openConnections(), 0u);
    EXPECT_EQ(system.systemLog.texts(),
              Lines(3, "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"));
}

TEST_F(QuoxelinCLITest, reportsAMissingHelperOnce) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    auto cli = makeCLI();
    ping(cli);
    EXPECT_EQ(answers, std::vector{false});
    dispatch.advance(seconds(60));
    EXPECT_EQ(answers, std::vector{false});
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[XPC] Failed to obtain HelperToolProtocol proxy for: "
                     "com.quoxelin.desktop.Helper",
                     "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
    EXPECT_EQ(system.xpc.openConnections(), 0u);
}

TEST_F(QuoxelinCLITest, doesUpAndDownSilentlyWithoutAHelper) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    auto cli = makeCLI();
    cli.up();
    cli.down();
    dispatch.runUntilIdle();
    EXPECT_TRUE(system.xpc.messages().empty());
    const std::string noProxy =
        "[XPC] Failed to obtain HelperToolProtocol proxy for: com.quoxelin.desktop.Helper";
    const std::string invalidated = "[XPC] Connection invalidated: com.quoxelin.desktop.Helper";
    EXPECT_EQ(system.systemLog.texts(), (Lines{"[CLI] Invoking quoxelind up via Helper at path: " +
                                                   std::string(quoxelind) + ", args: up",
                                               noProxy, noProxy, invalidated, invalidated}));
}

TEST_F(QuoxelinCLITest, waitsForALateReplyHoweverLong) {
    system.xpc.setReplyDelay(seconds(3600));
    auto cli = makeCLI();
    ping(cli);
    dispatch.advance(seconds(3599));
    EXPECT_TRUE(answers.empty());
    dispatch.advance(seconds(1));
    EXPECT_EQ(answers, std::vector{true});
    EXPECT_EQ(answeredAt, seconds(3600));
}

TEST_F(QuoxelinCLITest, onlyLogsThatTheHelperDied) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    auto cli = makeCLI();
    ping(cli);
    system.xpc.killHelper();
    dispatch.advance(seconds(60));
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[XPC] Error: Couldn’t communicate with a helper application: connection to "
                     "service named com.quoxelin.desktop.Helper",
                     "[XPC] Connection interrupted: com.quoxelin.desktop.Helper"}));
    EXPECT_EQ(system.xpc.connectionsMade(), 1u);
}

TEST_F(QuoxelinCLITest, onlyLogsThatTheHelperIsNotThere) {
    system.xpc.setHelper(SimulatedXPC::Helper::missing);
    auto cli = makeCLI();
    ping(cli);
    dispatch.advance(seconds(60));
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[XPC] Connection invalidated: com.quoxelin.desktop.Helper",
                     "[XPC] Error: The connection to service named com.quoxelin.desktop.Helper was "
                     "invalidated."}));
    EXPECT_EQ(system.xpc.connectionsMade(), 1u);
}

TEST_F(QuoxelinCLITest, doesNotReconnectWhenTheHelperCloses) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    makeCLI().down();
    system.xpc.invalidateConnections();
    dispatch.advance(seconds(60));
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[XPC] Error: Couldn’t communicate with a helper application: connection to "
                     "service named com.quoxelin.desktop.Helper",
                     "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
    EXPECT_EQ(system.xpc.connectionsMade(), 1u);
}

TEST_F(QuoxelinCLITest, opensAConnectionForEachRequest) {
    system.xpc.setReplyDelay(seconds(1));
    auto cli = makeCLI();
    ping(cli);
    cli.up();
    cli.down();
    EXPECT_EQ(system.xpc.openConnections(), 3u);
    dispatch.advance(seconds(1));
    EXPECT_EQ(system.xpc.connectionsMade(), 3u);
    EXPECT_EQ(system.xpc.openConnections(), 0u);
    EXPECT_EQ(answers, std::vector{true});
}

TEST_F(QuoxelinCLITest, mayBeAskedOnAnyThread) {
    auto cli = makeCLI();
    dispatch.global(QualityOfService::utility).async([&] {
        EXPECT_FALSE(dispatch.isMainThread());
        ping(cli);
    });
    dispatch.runUntilIdle();
    EXPECT_EQ(answers, std::vector{true});
}

TEST_F(QuoxelinCLITest, logsAReplyEvenAfterDestruction) {
    system.xpc.setReplyDelay(seconds(5));
    makeCLI().down();
    dispatch.advance(seconds(5));
    EXPECT_EQ(system.systemLog.texts(),
              (Lines{"[CLI] quoxelin down output: ",
                     "[XPC] Connection invalidated: com.quoxelin.desktop.Helper"}));
}

} // namespace quoxelin::testing
