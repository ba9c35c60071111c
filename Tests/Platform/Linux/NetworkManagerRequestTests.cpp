#include "Tests/Platform/Linux/NetworkManagerFixture.h"

#include <gmock/gmock.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;

// Tests/EndToEnd/test_tunnel_in_box.py does the same with NetworkManager.
class NetworkManagerRequestTest : public NetworkManagerFixture {};

TEST_F(NetworkManagerRequestTest, showsWhatWasSavedAndRemovedAtOnceAndReportsItOnce) {
    addConnection(1);
    startAll();
    VPNProfile fresh;
    fresh.uuid = "uuid-99";
    fresh.set({"Fresh", true, NETunnelProviderProtocol{"provider", {}}});
    auto changed = *client->find("uuid-1");
    changed.id = "Renamed";
    std::vector<std::string> seen;
    client->add(fresh, [&](const auto& error) {
        seen.push_back(error ? error->text : client->find("uuid-99")->id);
    });
    client->update(changed, [&](const auto& error) {
        seen.push_back(error ? error->text : client->find("uuid-1")->id);
    });
    runLoopUntil([&] { return seen.size() == 2 && told.size() == 1; });
    EXPECT_THAT(seen, ElementsAre("Fresh", "Renamed"));
    settings[connectionPath(1)]["connection"]["id"] = "Renamed";
    signal(connectionPath(1), connectionInterface, "Updated", {});
    client->remove("uuid-99", [&](const auto& error) {
        seen.emplace_back(error || client->find("uuid-99") != nullptr ? "there" : "gone");
    });
    runLoopUntil([&] { return seen.size() == 3 && told.size() == 2; });
    EXPECT_EQ(seen[2], "gone");
    removeObject(connectionPath(99));
    removeObject(connectionPath(1));
    awaitReport();
    EXPECT_EQ(told.size(), 3U);
}

TEST_F(NetworkManagerRequestTest, passesOnWhyARequestIsRefused) {
    addConnection(1);
    startAll();
    std::vector<std::string> seen;
    const auto keep = [&](const auto& error) { seen.push_back(error ? error->text : "done"); };
    for (const auto* member : {"AddConnection2", "Update2", "Delete", "ActivateConnection"}) {
        refused = member;
        const auto before = seen.size();
        if (refused == "AddConnection2")
            client->add({}, keep);
        if (refused == "Update2")
            client->update(*client->find("uuid-1"), keep);
        if (refused == "Delete")
            client->remove("uuid-1", keep);
        if (refused == "ActivateConnection")
            client->activate("uuid-1", [&](const auto& path) {
                seen.push_back(path ? *path : path.error().text);
            });
        runLoopUntil([&] { return seen.size() > before; });
    }
    EXPECT_THAT(seen, ElementsAre("not for you", "not for you", "not for you", "not for you"));
    EXPECT_NE(client->find("uuid-1"), nullptr);
}

TEST_F(NetworkManagerRequestTest, startsAndStopsTunnels) {
    addConnection(1);
    startAll();
    std::string path;
    bool isStopped = false;
    client->activate("uuid-1", [&](const auto& started) { path = started.value_or("failed"); });
    client->deactivate(activePath(7).toStdString(),
                       [&](const auto& error) { isStopped = !error.has_value(); });
    runLoopUntil([&] { return isStopped; });
    EXPECT_EQ(path, activePath(7).toStdString());
    const auto pathAt = [](const QDBusMessage& call, int place) {
        return qvariant_cast<QDBusObjectPath>(call.arguments().at(place)).path();
    };
    const auto start = networkManager->calls("ActivateConnection").at(0);
    EXPECT_EQ(pathAt(start, 0), connectionPath(1));
    EXPECT_EQ(pathAt(start, 1), "/");
    EXPECT_EQ(pathAt(start, 2), "/");
    EXPECT_EQ(pathAt(networkManager->calls("DeactivateConnection").at(0), 0), activePath(7));
}

TEST_F(NetworkManagerRequestTest, answersRequestsWhenTheBusEndsOrItIsGoneItself) {
    addConnection(1);
    silent = QStringList{"AddConnection2", "Update2", "Delete", "ActivateConnection"};
    startAll();
    int failed = 0; // the bus allows 128 calls at once
    const auto count = [&](const auto& error) { failed += error ? 1 : 0; };
    for (int times = 0; times < 30; ++times) {
        client->add({}, count);
        client->update(*client->find("uuid-1"), count);
        client->remove("uuid-1", count);
        client->activate("uuid-1", [&](const auto& path) { failed += path ? 0 : 1; });
    }
    client.reset();
    runLoopUntil([&] { return networkManager->calls("ActivateConnection").size() == 30; });
    daemon.stop();
    runLoopUntil([&] { return failed == 120; });
}

} // namespace quoxelin::testing
