#include "Tests/Runner/Services/State/HashiBusClientFixture.h"

#include <cerrno>

namespace quoxelin::testing {

class HashiBusClientLogout : public HashiBusClientFixture {
  protected:
    static constexpr const char* path = "/localapi/v0/logout";
};

TEST_F(HashiBusClientLogout, logsOutOverASeparateConnection) {
    start();
    daemon.answer("POST", path, SimulatedDaemon::raw("HTTP/1.1 200 OK\r\n\r\nbye"));
    daemon.deliveries[path].staysOpen = true;
    systemLog.clear();
    client->logout();
    EXPECT_EQ(daemon.requests().size(), 1u);
    dispatch.runUntilIdle();
    ASSERT_EQ(daemon.requests().size(), 2u);
    EXPECT_EQ(daemon.requests()[1].bytes,
              "POST /localapi/v0/logout HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n");
    EXPECT_EQ(log(), (Lines{"[HashiBus] Logout request sent, bytes: 65",
                            "[HashiBus] Logout response: HTTP/1.1 200 OK\r\n\r\nbye"}));
    EXPECT_EQ(dispatch.submittedQualities(), std::vector{QualityOfService::standard});
    EXPECT_EQ(daemon.openConnections(), 1u);
    send(line("a"));
    EXPECT_EQ(delegate->versions, "a");
}

TEST_F(HashiBusClientLogout, logsWhyItCannotLogOut) {
    daemon.refuseConnections();
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout failed: Could not open socket"});
    daemon.acceptConnections();
    systemLog.clear();
    daemon.writeError = EPIPE;
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout write failed: Broken pipe"});
    EXPECT_EQ(daemon.openConnections(), 0u);
}

TEST_F(HashiBusClientLogout, logsHowManyBytesOfALogoutWereTaken) {
    daemon.writeLimit = 10;
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log(), Lines{"[HashiBus] Logout request sent, bytes: 10"});
}

TEST_F(HashiBusClientLogout, logsALogoutWithoutAResponse) {
    for (const auto& readError : {std::optional<int>(), std::optional<int>(EIO)}) {
        systemLog.clear();
        daemon.answer("POST", path, SimulatedDaemon::raw(""));
        daemon.deliveries[path].readError = readError;
        client->logout();
        dispatch.runUntilIdle();
        EXPECT_EQ(log(), (Lines{"[HashiBus] Logout request sent, bytes: 65",
                                "[HashiBus] Logout response empty or error"}));
    }
}

TEST_F(HashiBusClientLogout, readsALogoutsResponseOnceUpTo1024Bytes) {
    daemon.answer("POST", path, SimulatedDaemon::raw(std::string(3'000, 'x')));
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: " + std::string(1'024, 'x'));
    daemon.answer("POST", path, SimulatedDaemon::raw("abc"));
    daemon.deliveries[path].chunkSize = 2;
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: ab");
}

TEST_F(HashiBusClientLogout, logsNoTextOfALogoutResponseThatIsNotUtf8) {
    daemon.answer("POST", path, SimulatedDaemon::raw("ok \xFF"));
    client->logout();
    dispatch.runUntilIdle();
    EXPECT_EQ(log().back(), "[HashiBus] Logout response: ");
}

} // namespace quoxelin::testing
