#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

namespace quoxelin::testing {

using VPNTunnelService = VPNTunnelServiceTest;

// Coming up

TEST_F(VPNTunnelService, startsDisconnectedAndLooksForASavedConfiguration) {
    create();
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::disconnected);
    EXPECT_EQ(trace.take(), Lines{});
    EXPECT_EQ(settleAndTake(), (Lines{"[VPN] No saved Quoxelin VPN configuration",
                                      "[VPN] updateStatus: manager or connection is nil"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll"}));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::disconnected);
}

TEST_F(VPNTunnelService, adoptsTheSavedConfigurationWithTheStatusOfItsTunnel) {
    saveOurs();
    network.tunnel().report(3);
    dispatch.runUntilIdle();
    create();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Adopted existing VPN configuration", "[VPN] raw status: 3",
                     "= connected", "[VPN] Status changed: NEVPNStatus(rawValue: 3)"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll"}));
}

TEST_F(VPNTunnelService, logsWhyThePreferencesCannotBeRead) {
    network.errors[SimulatedNetworkExtension::Operation::loadAll] = permissionDenied;
    create();
    EXPECT_EQ(settleAndTake(), (Lines{"[VPN] Error loading VPN preferences: permission denied",
                                      "[VPN] updateStatus: manager or connection is nil"}));
}

// Stop

TEST_F(VPNTunnelService, stopsTheTunnelItHoldsAndWaitsForTheStatus) {
    saveOurs();
    createAndSettle();
    service->start();
    dispatch.advance(seconds(5));
    forget();
    service->stop();
    EXPECT_EQ(trace.take(), Lines{});
    EXPECT_EQ(network.requests, (Lines{"stop"}));
    dispatch.advance(seconds(1));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"5 [VPN] Status notification received", "5 [VPN] raw status: 5",
                     "5 = disconnecting", "5 [VPN] Status changed: NEVPNStatus(rawValue: 5)",
                     "5.5 [VPN] Status notification received", "5.5 [VPN] raw status: 1",
                     "5.5 = disconnected", "5.5 [VPN] Status changed: NEVPNStatus(rawValue: 1)"}));
}

TEST_F(VPNTunnelService, hasNothingToStopIfNothingIsSaved) {
    createAndSettle();
    service->stop();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] No saved Quoxelin VPN configuration",
                     "[VPN] Nothing to stop; reporting disconnected", "= disconnected"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll"}));
    EXPECT_TRUE(network.configurations().empty());
}

TEST_F(VPNTunnelService, hasNothingToStopWhenThePreferencesCannotBeRead) {
    createAndSettle();
    network.errors[SimulatedNetworkExtension::Operation::loadAll] = permissionDenied;
    service->stop();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Error loading VPN preferences: permission denied",
                     "[VPN] Nothing to stop; reporting disconnected", "= disconnected"}));
}

TEST_F(VPNTunnelService, adoptsASavedConfigurationToStopIt) {
    createAndSettle();
    saveOurs();
    network.tunnel().report(3);
    dispatch.runUntilIdle();
    forget();
    service->stop();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Adopted existing VPN configuration", "[VPN] raw status: 5",
                     "= disconnecting", "[VPN] Status changed: NEVPNStatus(rawValue: 5)",
                     "[VPN] Status notification received", "[VPN] raw status: 5", "= disconnecting",
                     "[VPN] Status changed: NEVPNStatus(rawValue: 5)"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "stop"}));
}

TEST_F(VPNTunnelService, stopsNothingWithoutAConnection) {
    saveOurs();
    createAndSettle();
    network.hasConnections = false;
    service->stop();
    EXPECT_EQ(settleAndTake(), Lines{});
    EXPECT_EQ(network.requests, Lines{});
}

// Status

struct StatusMapping {
    int raw;
    const char* published;
};

class PlatformStatus : public VPNTunnelServiceTest,
                       public ::testing::WithParamInterface<StatusMapping> {};

TEST_P(PlatformStatus, isPublishedAtEachNotification) {
    saveOurs();
    createAndSettle();
    const auto [raw, published] = GetParam();
    const Lines lines{"[VPN] Status notification received",
                      fmt::format("[VPN] raw status: {}", raw), std::string("= ") + published,
                      fmt::format("[VPN] Status changed: NEVPNStatus(rawValue: {})", raw)};
    network.tunnel().report(raw);
    EXPECT_EQ(settleAndTake(), lines);
    network.tunnel().report(raw);
    EXPECT_EQ(settleAndTake(), lines);
}

INSTANTIATE_TEST_SUITE_P(
    VPNTunnelService, PlatformStatus,
    ::testing::Values(StatusMapping{0, "disconnected"}, StatusMapping{1, "disconnected"},
                      StatusMapping{2, "connecting"}, StatusMapping{3, "connected"},
                      StatusMapping{4, "connecting"}, StatusMapping{5, "disconnecting"},
                      StatusMapping{6, "unknown"}, StatusMapping{99, "unknown"},
                      StatusMapping{-1, "unknown"}, StatusMapping{-2147483647 - 1, "unknown"}));

TEST_F(VPNTunnelService, keepsTheStatusWithoutAConnection) {
    saveOurs();
    createAndSettle();
    network.tunnel().report(3);
    dispatch.runUntilIdle();
    forget();
    network.hasConnections = false;
    network.tunnel().drop();
    EXPECT_EQ(settleAndTake(), (Lines{"[VPN] Status notification received",
                                      "[VPN] updateStatus: manager or connection is nil"}));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
}

TEST_F(VPNTunnelService, followsATunnelThatIsLostOrReasserts) {
    saveOurs();
    createAndSettle();
    service->start();
    dispatch.advance(seconds(10));
    forget();
    network.tunnel().reassert(seconds(3));
    dispatch.advance(seconds(10));
    network.tunnel().drop();
    dispatch.runUntilIdle();
    Lines published;
    for (const auto& line : trace.takeTimed()) {
        if (line.find(" = ") != std::string::npos)
            published.push_back(line);
    }
    EXPECT_EQ(published, (Lines{"10 = connecting", "13 = connected", "20 = disconnected"}));
}

TEST_F(VPNTunnelService, followsAnAttemptThatFails) {
    saveOurs();
    createAndSettle();
    network.tunnels.comeUp = false;
    service->start();
    dispatch.advance(seconds(5));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::disconnected);
    // The attempt began, so no start is pending.
    network.requests.clear();
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
}

TEST_F(VPNTunnelService, logsWhyATunnelEnded) {
    saveOurs();
    createAndSettle();
    network.tunnels.disconnectError = Error{"NEVPNErrorDomain", 3, "no network"};
    network.tunnels.comeUp = false;
    network.tunnels.disconnectDuration = Duration::zero();
    const std::string line = "[VPN] Tunnel ended: no network (code: 3, domain: NEVPNErrorDomain)";
    service->start();
    dispatch.advance(seconds(5));
    EXPECT_EQ(trace.take().back(), line);
    network.tunnels.comeUp = true;
    service->start();
    dispatch.advance(seconds(5));
    network.tunnel().drop();
    EXPECT_EQ(settleAndTake().back(), line);
    // The end was already known.
    network.tunnel().report(1);
    EXPECT_NE(settleAndTake().back(), line);
}

// Threads and lifetime

TEST_F(VPNTunnelService, repeatsCallsFromOtherThreadsOnTheMainQueue) {
    saveOurs();
    createAndSettle();
    fromAnotherThread([this] { service->start(); });
    EXPECT_EQ(network.requests, (Lines{"start"}));
    forget();
    fromAnotherThread([this] { service->stop(); });
    EXPECT_EQ(network.requests, (Lines{"stop"}));
    forget();
    fromAnotherThread([this] { service->ensureConfigurationSaved(noting("saved")); });
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "save", "load"}));
    EXPECT_EQ(trace.take().back(), "saved");
    forget();
    fromAnotherThread([this] { service->removeConfiguration(noting("removed")); });
    EXPECT_EQ(network.requests.front(), "loadAll");
    EXPECT_EQ(network.requests.at(1), "remove");
}

TEST_F(VPNTunnelService, acceptsAnswersOnOtherThreads) {
    network.answers = SimulatedNetworkExtension::Answers::onAnotherThread;
    network.answerDelay = seconds(0.25);
    create();
    service->start();
    dispatch.advance(seconds(10));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(10));
    const auto lines = trace.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "removed"), 1);
}

TEST_F(VPNTunnelService, acceptsAnswersBeforeTheCallReturns) {
    network.answers = SimulatedNetworkExtension::Answers::beforeReturning;
    create();
    // Nothing happens before the turn of the main queue.
    EXPECT_EQ(trace.take(), Lines{});
    service->start();
    EXPECT_EQ(trace.take(), Lines{});
    dispatch.advance(seconds(10));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
}

TEST_F(VPNTunnelService, isNotCalledAfterDestruction) {
    saveOurs();
    createAndSettle();
    service->start();
    service->stop();
    destroy();
    network.tellConfigurationChange();
    dispatch.advance(seconds(10));
    trace.take();
    create();
    service->start();
    destroy();
    dispatch.advance(seconds(10));
    EXPECT_EQ(trace.take(), Lines{});
}

TEST_F(VPNTunnelService, completesPendingRequestsAfterDestruction) {
    network.answerDelay = seconds(1);
    // Ends the service at each step of both operations.
    for (const double end : {0.5, 1.5, 2.5, 3.5, 4.5}) {
        create();
        dispatch.advance(seconds(1));
        service->ensureConfigurationSaved(noting("saved"));
        dispatch.advance(seconds(end));
        destroy();
        dispatch.advance(seconds(10));
        const auto lines = trace.take();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "saved"), 1) << end;
    }
    for (const double end : {0.5, 1.5}) {
        create();
        dispatch.advance(seconds(10));
        service->removeConfiguration(noting("removed"));
        dispatch.advance(seconds(end));
        destroy();
        dispatch.advance(seconds(10));
        const auto lines = trace.take();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "removed"), 1) << end;
    }
}

TEST_F(VPNTunnelService, completesPendingRequestsOfOtherThreadsAfterDestruction) {
    createAndSettle();
    dispatch.global(QualityOfService::standard).async([this] {
        // Destroys the service on the main queue's next turn; the calls come on the turn after it.
        dispatch.main().async([this] { destroy(); });
        service->ensureConfigurationSaved(noting("saved"));
        service->removeConfiguration(noting("removed"));
        service->start();
        service->stop();
    });
    EXPECT_EQ(settleAndTake(), (Lines{"saved", "removed"}));
    EXPECT_EQ(network.requests, Lines{});
}

TEST_F(VPNTunnelService, saysThatTheConfigurationChangedBeforeItLooks) {
    saveOurs();
    createAndSettle();
    network.onRequest = [this](const std::string& request) { trace.note(request); };
    network.tellConfigurationChange();
    const auto lines = settleAndTake();
    EXPECT_EQ((Lines{lines.begin(), lines.begin() + 3}),
              (Lines{"[VPN] Configuration changed; reloading manager", "loadAll", "load"}));
}

TEST_F(VPNTunnelService, makesANewManagerAfterTheUserRemovedTheConfiguration) {
    network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
    createAndSettle();
    const std::string made = "[VPN] Found existing manager(s) but none match Quoxelin; creating a "
                             "new manager";
    service->ensureConfigurationSaved([] {});
    const auto first = settleAndTake();
    EXPECT_EQ(std::count(first.begin(), first.end(), made), 1);
    network.removeConfiguration(1);
    const auto second = settleAndTake();
    EXPECT_EQ(std::count(second.begin(), second.end(), made), 1);
    EXPECT_EQ(network.configurations().size(), 2u);
}

} // namespace quoxelin::testing
