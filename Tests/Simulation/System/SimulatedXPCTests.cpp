#include "Simulation/System/SimulatedXPC.h"

#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SimulatedXPCTest : public ::testing::Test {
  protected:
    std::shared_ptr<NSXPCConnection> connect() {
        auto connection = xpc.privilegedConnection("service");
        connection->setInterruptionHandler([this] { note("interrupted"); });
        connection->setInvalidationHandler([this] { note("invalidated"); });
        connection->resume();
        return connection;
    }

    void send(NSXPCConnection& connection, const std::string& argument = "up") {
        connection.remoteObjectProxyWithErrorHandler(
            [this](const Error& error) { note("error " + std::to_string(error.code)); },
            [&](const auto& proxy) {
                ASSERT_NE(proxy, nullptr);
                proxy->runGoToolWithPath("/tool", {argument}, [this](const std::string& output) {
                    note("reply " + output);
                });
            });
    }

    void note(const std::string& what) {
        EXPECT_FALSE(dispatch.isMainThread());
        events.push_back(what);
    }

    std::vector<std::string> take() { return std::exchange(events, {}); }

    using Events = std::vector<std::string>;
    VirtualDispatch dispatch;
    SimulatedXPC xpc{dispatch};
    Events events;
};

TEST_F(SimulatedXPCTest, repliesOnItsOwnQueueWhenTheTimeHasCome) {
    xpc.setReplyDelay(seconds(2));
    xpc.setOutput("up", "started");
    const auto connection = connect();
    send(*connection);
    dispatch.advance(seconds(1.9));
    EXPECT_EQ(take(), Events());
    dispatch.advance(seconds(0.1));
    EXPECT_EQ(take(), Events{"reply started"});
}

TEST_F(SimulatedXPCTest, answersAPing) {
    bool answer = false;
    const auto connection = connect();
    connection->remoteObjectProxyWithErrorHandler(
        [](const Error&) {},
        [&](const auto& proxy) { proxy->pingWithReply([&](bool is) { answer = is; }); });
    dispatch.runUntilIdle();
    EXPECT_TRUE(answer);
    EXPECT_TRUE(xpc.messages().front().isPing);
}

TEST_F(SimulatedXPCTest, repliesNothingOnceInvalidated) {
    xpc.setReplyDelay(seconds(1));
    const auto connection = connect();
    send(*connection);
    connection->invalidate();
    connection->invalidate();
    dispatch.advance(seconds(2));
    EXPECT_EQ(take(), Events{"invalidated"});
    send(*connection);
    dispatch.runUntilIdle();
    EXPECT_EQ(take(), Events{"error 4099"});
    EXPECT_EQ(xpc.openConnections(), 0u);
}

TEST_F(SimulatedXPCTest, failsWhatWaitsWhenTheHelperDiesAndStartsItAgain) {
    xpc.setReplyDelay(seconds(1));
    const auto connection = connect();
    send(*connection);
    xpc.killHelper();
    dispatch.advance(seconds(2));
    EXPECT_EQ(take(), (Events{"error 4097", "interrupted"}));
    send(*connection);
    dispatch.advance(seconds(1));
    EXPECT_EQ(take(), Events{"reply "});
}

TEST_F(SimulatedXPCTest, staysOpenWhenNobodyRefersToIt) {
    connect();
    EXPECT_EQ(xpc.openConnections(), 1u);
    xpc.killHelper();
    dispatch.runUntilIdle();
    EXPECT_EQ(take(), Events{"interrupted"});
}

TEST_F(SimulatedXPCTest, cannotBeMadeToAServiceThatIsMissing) {
    xpc.setHelper(SimulatedXPC::Helper::missing);
    const auto connection = connect();
    send(*connection);
    dispatch.runUntilIdle();
    EXPECT_EQ(take(), (Events{"invalidated", "error 4099"}));
}

TEST_F(SimulatedXPCTest, failsAMessageThatIsSentBeforeItIsResumed) {
    const auto connection = xpc.privilegedConnection("service");
    send(*connection);
    dispatch.runUntilIdle();
    EXPECT_EQ(take(), Events{"error 4099"});
}

TEST_F(SimulatedXPCTest, hasNoProxyWhileTheHelperMayNotBeLaunched) {
    xpc.setLaunchAllowed(false);
    const auto connection = connect();
    connection->remoteObjectProxyWithErrorHandler(
        [](const Error&) {}, [](const auto& proxy) { EXPECT_EQ(proxy, nullptr); });
    xpc.setLaunchAllowed(true);
    send(*connection);
    dispatch.runUntilIdle();
    EXPECT_EQ(take(), Events{"reply "});
}

TEST_F(SimulatedXPCTest, saysNothingMoreAfterTheSystemsEnd) {
    auto system = std::make_unique<SimulatedXPC>(dispatch);
    system->setReplyDelay(seconds(1));
    const auto connection = system->privilegedConnection("service");
    connection->setInvalidationHandler([this] { note("invalidated"); });
    connection->resume();
    send(*connection);
    system.reset();
    connection->invalidate();
    dispatch.advance(seconds(2));
    EXPECT_EQ(take(), Events());
}

} // namespace quoxelin::testing
