#include "Tests/Platform/Linux/NetworkManagerFixture.h"

#include <gmock/gmock.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

// Tests/EndToEnd/test_tunnel_in_box.py does the same with NetworkManager.
class NetworkManagerClientTest : public NetworkManagerFixture {};

TEST_F(NetworkManagerClientTest, listsTheVPNsThatThisUserMaySeeTheOldestFirst) {
    for (const int number : {10, 9, 1})
        addConnection(number);
    settings[connectionPath(3)] = {{"connection", {{"type", "wireguard"}, {"uuid", "another"}}}};
    settings[connectionPath(4)] = {};
    startAll();
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-1", "uuid-9", "uuid-10"));
    EXPECT_EQ(client->find("uuid-9")->id, "VPN 9");
    EXPECT_EQ(client->find("another"), nullptr);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(NetworkManagerClientTest, listsTheTunnelsOfVPNsOnly) {
    others[QDBusObjectPath(activePath(1))] = {{activeInterface, active("ethernet", 2, false)}};
    others[QDBusObjectPath(activePath(2))] = {{activeInterface, active("uuid-1", 2)}};
    startAll();
    ASSERT_EQ(client->tunnels().size(), 1U);
    EXPECT_EQ(client->tunnels()[0].uuid, "uuid-1");
    EXPECT_EQ(client->tunnels()[0].path, activePath(2).toStdString());
    EXPECT_EQ(client->tunnels()[0].state, NetworkManagerClient::Tunnel::State::activated);
}

TEST_F(NetworkManagerClientTest, waitsUntilNetworkManagerHasStarted) {
    isStarting = true;
    addConnection(1);
    startNetworkManager();
    makeClient();
    bool isReady = false;
    client->whenReady([&] { isReady = true; });
    runLoopUntil([&] { return !networkManager->calls("GetSettings").empty(); });
    runLoopUntilIdle();
    EXPECT_FALSE(isReady);
    addConnection(2);
    addObject(connectionPath(2), connectionInterface, {});
    changeProperties(mainObject, service, {{"Version", "1.0"}, {"Startup", false}});
    runLoopUntil([&] { return isReady; });
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-1", "uuid-2"));
}

TEST_F(NetworkManagerClientTest, isNotRunningWithoutNetworkManagerUntilItAppears) {
    makeClient();
    bool isReady = false;
    client->whenReady([&] { isReady = true; });
    runLoopUntil([&] { return isReady; });
    EXPECT_FALSE(client->isRunning());
    EXPECT_EQ(client->problem(), "NetworkManager is not running");
    EXPECT_THAT(client->profiles(), IsEmpty());
    EXPECT_THAT(client->tunnels(), IsEmpty());
    addConnection(1);
    startNetworkManager();
    awaitReport();
    EXPECT_TRUE(told[0].presence && told[0].configurations && told[0].tunnels);
    EXPECT_TRUE(client->isRunning());
    networkManager->disown();
    awaitReport();
    EXPECT_TRUE(told[1].presence && told[1].tunnels);
    EXPECT_FALSE(told[1].configurations) << "they have not been deleted";
    EXPECT_THAT(client->profiles(), IsEmpty());
}

TEST_F(NetworkManagerClientTest, listsMoreConnectionsThanTheBusAnswersAtOnce) {
    for (int number = 0; number < 200; ++number)
        addConnection(number);
    startAll();
    EXPECT_EQ(client->profiles().size(), 200U);
}

TEST_F(NetworkManagerClientTest, followsANetworkManagerThatComesBack) {
    addConnection(1);
    others[QDBusObjectPath(activePath(7))] = {{activeInterface, active("uuid-1", 2)}};
    startAll();
    networkManager.reset();
    awaitReport();
    EXPECT_FALSE(client->isRunning());
    settings.clear();
    others.clear();
    addConnection(2);
    startNetworkManager();
    runLoopUntil([&] { return client->isRunning(); });
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-2"));
    EXPECT_THAT(client->tunnels(), IsEmpty());
    addObject(activePath(1), activeInterface, active("uuid-2", 1));
    runLoopUntil([&] { return !client->tunnels().empty(); });
}

TEST_F(NetworkManagerClientTest, isNotRunningIfTheBusEndsWhileItReads) {
    for (int number = 0; number < 40; ++number)
        addConnection(number);
    silent = QStringList{"GetSettings"};
    startNetworkManager();
    makeClient();
    bool isReady = false;
    client->whenReady([&] {
        isReady = true;
        EXPECT_FALSE(client->isRunning());
        EXPECT_EQ(client->problem(), "NetworkManager is not running");
    });
    runLoopUntil([&] { return !networkManager->calls("GetSettings").empty(); });
    EXPECT_FALSE(isReady);
    daemon.stop();
    runLoopUntil([&] { return isReady; });
}

TEST_F(NetworkManagerClientTest, canBeDestroyedByTheLastOneThatWaitsForIt) {
    isStarting = true;
    startNetworkManager();
    makeClient();
    bool isReady = false;
    std::shared_ptr<NetworkManagerClient> shared = std::move(client);
    shared->whenReady([&isReady, owner = shared] { isReady = !owner->isRunning(); });
    runLoopUntil([&] { return !networkManager->calls("GetManagedObjects").empty(); });
    const std::weak_ptr<NetworkManagerClient> weak = shared;
    shared.reset();
    daemon.stop();
    runLoopUntil([&] { return isReady; });
    EXPECT_TRUE(weak.expired());
}

TEST_F(NetworkManagerClientTest, doesNotWaitForAConnectionThatIsRemovedMeanwhile) {
    addConnection(1);
    silent = QStringList{"GetSettings"};
    startNetworkManager();
    makeClient();
    bool isReady = false;
    client->whenReady([&] { isReady = true; });
    runLoopUntil([&] { return !networkManager->calls("GetSettings").empty(); });
    removeObject(connectionPath(1));
    runLoopUntil([&] { return isReady; });
    EXPECT_TRUE(client->isRunning());
    EXPECT_THAT(client->profiles(), IsEmpty());
}

TEST_F(NetworkManagerClientTest, keepsAConnectionThatItCannotReadAgain) {
    addConnection(1);
    addConnection(2);
    startAll();
    limited = connectionPath(1);
    signal(connectionPath(1), connectionInterface, "Updated", {});
    runLoopUntil([&] { return networkManager->calls("GetSettings").size() == 3; });
    removeObject(connectionPath(2));
    awaitReport();
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-1"));
}

TEST_F(NetworkManagerClientTest, listsNothingWhileItCannotReadAConnection) {
    addConnection(1);
    addConnection(2);
    limited = connectionPath(1);
    startNetworkManager();
    makeClient();
    bool isReady = false;
    client->whenReady([&] { isReady = true; });
    runLoopUntil([&] { return isReady; });
    EXPECT_FALSE(client->isRunning());
    EXPECT_EQ(client->problem(), "too many");
    limited.clear();
    awaitReady();
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-1", "uuid-2"));
}

TEST_F(NetworkManagerClientTest, saysWhatIsWrongAndTriesAgain) {
    refused = "GetManagedObjects";
    startNetworkManager();
    makeClient();
    bool isReady = false;
    client->whenReady([&] { isReady = true; });
    runLoopUntil([&] { return isReady; });
    EXPECT_FALSE(client->isRunning());
    EXPECT_EQ(client->problem(), "not for you");
    refused.clear();
    awaitReady();
}

TEST_F(NetworkManagerClientTest, reportsChangesOfConnections) {
    addConnection(1);
    startAll();
    addConnection(2);
    addObject(connectionPath(2), connectionInterface, {});
    awaitReport();
    EXPECT_TRUE(told[0].configurations && !told[0].tunnels && !told[0].presence);
    settings[connectionPath(2)]["vpn"]["data"] = textsOf({{"enabled", "no"}});
    signal(connectionPath(2), connectionInterface, "Updated", {});
    awaitReport();
    EXPECT_FALSE(client->find("uuid-2")->configuration().isEnabled);
    settings[connectionPath(1)] = {};
    signal(connectionPath(1), connectionInterface, "Updated", {});
    awaitReport();
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-2"));
    removeObject(connectionPath(2));
    awaitReport();
    EXPECT_THAT(client->profiles(), IsEmpty());
}

TEST_F(NetworkManagerClientTest, reportsNoChangeOfAConnectionThatIsOnlyUsed) {
    addConnection(1);
    addConnection(2);
    startAll();
    settings[connectionPath(1)]["connection"]["timestamp"] = QVariant::fromValue(qulonglong{7});
    signal(connectionPath(1), connectionInterface, "Updated", {});
    runLoopUntil([&] { return networkManager->calls("GetSettings").size() == 3; });
    removeObject(connectionPath(2));
    awaitReport();
    EXPECT_EQ(told.size(), 1U);
    EXPECT_THAT(client->profiles(), ElementsAre("uuid-1"));
}

TEST_F(NetworkManagerClientTest, reportsChangesOfTunnelsAndWhyTheyEnd) {
    startAll();
    addObject(activePath(7), activeInterface, active("uuid-1", 1));
    awaitReport();
    EXPECT_TRUE(told[0].tunnels && !told[0].configurations && !told[0].presence);
    changeProperties(activePath(7), activeInterface, {{"State", 4U}});
    signal(activePath(7), activeInterface, "StateChanged", {4U, 8U});
    runLoopUntil([&] { return !told.back().reasons.empty(); });
    EXPECT_THAT(told.back().reasons, ElementsAre(Pair("uuid-1", "service-start-failed")));
    EXPECT_EQ(client->tunnels()[0].state, NetworkManagerClient::Tunnel::State::deactivated);
    signal(activePath(7), activeInterface, "StateChanged", {4U, 99U});
    runLoopUntil([&] {
        return told.back().reasons.count("uuid-1") == 1 && told.back().reasons["uuid-1"] == "99";
    });
    removeObject(activePath(7));
    awaitReport();
    EXPECT_THAT(client->tunnels(), IsEmpty());
}

TEST_F(NetworkManagerClientTest, reportsNoReasonForATunnelThatWasStopped) {
    startAll();
    addObject(activePath(7), activeInterface, active("uuid-1", 2));
    for (const uint reason : {1U, 2U})
        signal(activePath(7), activeInterface, "StateChanged", {4U, reason});
    signal(activePath(7), activeInterface, "StateChanged", {3U, 8U});
    removeObject(activePath(7));
    runLoopUntil([&] { return !told.empty() && client->tunnels().empty(); });
    for (const auto& changes : told)
        EXPECT_THAT(changes.reasons, IsEmpty());
}

TEST_F(NetworkManagerClientTest, believesOnlyNetworkManager) {
    addConnection(1);
    others[QDBusObjectPath(activePath(7))] = {{activeInterface, active("uuid-1", 2)}};
    startAll();
    const auto forge = [&](const QString& object, const QString& interface, const QString& name,
                           const QVariantList& arguments) {
        daemon.forge(bus, object, interface, name, arguments);
    };
    const auto path = QVariant::fromValue(QDBusObjectPath(activePath(7)));
    forge("/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
          {service, "a", QString()});
    forge("/org/freedesktop", ofObjects, "InterfacesRemoved", {path, QStringList()});
    forge("/org/freedesktop", ofObjects, "InterfacesAdded",
          {QVariant::fromValue(QDBusObjectPath(activePath(8))),
           QVariant::fromValue(Interfaces{{activeInterface, active("uuid-2", 2)}})});
    forge(activePath(7), ofProperties, "PropertiesChanged",
          {activeInterface, QVariantMap{{"State", 4U}}, QStringList()});
    forge(activePath(7), activeInterface, "StateChanged", {4U, 8U});
    forge(connectionPath(1), connectionInterface, "Updated", {});
    addObject(activePath(9), activeInterface, active("uuid-3", 1));
    awaitReport();
    EXPECT_TRUE(client->isRunning());
    ASSERT_EQ(client->tunnels().size(), 2U);
    EXPECT_EQ(client->tunnels()[0].state, NetworkManagerClient::Tunnel::State::activated);
    EXPECT_EQ(client->tunnels()[1].uuid, "uuid-3");
    EXPECT_THAT(told[0].reasons, IsEmpty());
    EXPECT_EQ(networkManager->calls("GetSettings").size(), 1U);
}

TEST_F(NetworkManagerClientTest, ignoresPropertiesOfTunnelsThatAreGone) {
    startAll();
    changeProperties(activePath(7), activeInterface, active("uuid-1", 2));
    addObject(activePath(8), activeInterface, active("uuid-2", 1));
    awaitReport();
    ASSERT_EQ(client->tunnels().size(), 1U);
    EXPECT_EQ(client->tunnels()[0].uuid, "uuid-2");
}

TEST_F(NetworkManagerClientTest, ignoresValuesOfOtherTypes) {
    others[QDBusObjectPath(activePath(7))] = {
        {activeInterface, {{"Uuid", 7U}, {"State", "up"}, {"Vpn", true}}}};
    others[QDBusObjectPath(activePath(8))] = {{activeInterface, {{"Vpn", "yes"}}}};
    settings[connectionPath(1)] = {{"connection", {{"type", 7U}}}};
    startAll();
    ASSERT_EQ(client->tunnels().size(), 1U);
    EXPECT_EQ(client->tunnels()[0].uuid, "");
    EXPECT_EQ(client->tunnels()[0].state, NetworkManagerClient::Tunnel::State::unknown);
    EXPECT_THAT(client->profiles(), IsEmpty());
}

} // namespace quoxelin::testing
