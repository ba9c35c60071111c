#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

namespace quoxelin::testing {

using VPNTunnelService = VPNTunnelServiceTest;

TEST_F(VPNTunnelService, startsATunnelThatWasNeverConfigured) {
    createAndSettle();
    service->start();
    EXPECT_EQ(trace.take(), Lines{});
    EXPECT_EQ(settleAndTake(), (Lines{
                                   "[VPN] Configuration changed; reloading manager",
                                   "[VPN] raw status: 1",
                                   "= disconnected",
                                   "[VPN] Status changed: NEVPNStatus(rawValue: 1)",
                                   "[VPN] Starting VPN tunnel (current status: 1)",
                                   "= connecting",
                                   "[VPN] Tunnel start initiated successfully",
                                   "[VPN] Status notification received",
                                   "[VPN] raw status: 2",
                                   "= connecting",
                                   "[VPN] Status changed: NEVPNStatus(rawValue: 2)",
                                   // the reload caused by saving
                                   "[VPN] raw status: 2",
                                   "= connecting",
                                   "[VPN] Status changed: NEVPNStatus(rawValue: 2)",
                               }));
    EXPECT_EQ(network.requests,
              (Lines{"loadAll", "load", "save", "loadAll", "load", "load", "start"}));

    dispatch.advance(seconds(2));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"1 [VPN] Status notification received", "1 [VPN] raw status: 3",
                     "1 = connected", "1 [VPN] Status changed: NEVPNStatus(rawValue: 3)"}));
}

TEST_F(VPNTunnelService, configuresANewTunnelCompletely) {
    createAndSettle();
    service->start();
    dispatch.runUntilIdle();
    const auto saved = network.configurations();
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(saved[0].localizedDescription, "Quoxelin");
    EXPECT_TRUE(saved[0].isEnabled);
    ASSERT_TRUE(saved[0].protocol);
    EXPECT_EQ(saved[0].protocol->providerBundleIdentifier, ourProvider);
    EXPECT_EQ(saved[0].protocol->serverAddress, "localhost");
    EXPECT_FALSE(saved[0].protocol->disconnectOnSleep);
}

TEST_F(VPNTunnelService, startsTheTunnelItHoldsAtOnce) {
    saveOurs();
    createAndSettle();
    service->start();
    EXPECT_EQ(trace.take(), (Lines{"[VPN] Starting VPN tunnel (current status: 1)", "= connecting",
                                   "[VPN] Tunnel start initiated successfully"}));
    EXPECT_EQ(network.requests, (Lines{"start"}));
}

TEST_F(VPNTunnelService, savesNothingToStartATunnelThatIsConfigured) {
    createAndSettle();
    saveOurs();
    service->start();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "start"}));
}

TEST_F(VPNTunnelService, doesNotStartATunnelThatIsComingUp) {
    saveOurs();
    createAndSettle();
    network.tunnel().report(2);
    dispatch.runUntilIdle();
    forget();
    service->start();
    EXPECT_EQ(trace.take(),
              (Lines{"[VPN] Already connected or connecting (status: 2), skipping start",
                     "[VPN] raw status: 2", "= connecting",
                     "[VPN] Status changed: NEVPNStatus(rawValue: 2)"}));
    EXPECT_EQ(network.requests, Lines{});
    // No start is pending: a configuration change after the tunnel went down does not start it.
    network.tunnel().drop();
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
}

TEST_F(VPNTunnelService, doesNotStartATunnelThatIsUp) {
    saveOurs();
    createAndSettle();
    network.tunnel().report(3);
    dispatch.runUntilIdle();
    forget();
    service->start();
    EXPECT_EQ(trace.take(),
              (Lines{"[VPN] Already connected or connecting (status: 3), skipping start",
                     "[VPN] raw status: 3", "= connected",
                     "[VPN] Status changed: NEVPNStatus(rawValue: 3)"}));
    EXPECT_EQ(network.requests, Lines{});
}

TEST_F(VPNTunnelService, startsATunnelThatIsReassertingOrOfUnknownStatus) {
    saveOurs();
    createAndSettle();
    for (const int status : {4, 5, 0, 99, -1}) {
        network.tunnel().report(status);
        dispatch.runUntilIdle();
        forget();
        service->start();
        EXPECT_EQ(network.requests, (Lines{"start"})) << status;
        EXPECT_EQ(trace.take().front(),
                  fmt::format("[VPN] Starting VPN tunnel (current status: {})", status));
    }
}

TEST_F(VPNTunnelService, reportsAnErrorWhenThePreferencesCannotBeReadForAStart) {
    createAndSettle();
    network.errors[SimulatedNetworkExtension::Operation::loadAll] = permissionDenied;
    service->start();
    EXPECT_EQ(settleAndTake(), (Lines{"[VPN] Error loading VPN preferences: permission denied",
                                      "[VPN] updateStatus: manager or connection is nil",
                                      "[VPN] Error: VPN manager is nil", "= error"}));
}

TEST_F(VPNTunnelService, reportsAnErrorWhenTheManagerHasNoConnection) {
    saveOurs();
    createAndSettle();
    network.hasConnections = false;
    service->start();
    EXPECT_EQ(trace.take(), (Lines{"[VPN] Error: VPN manager is nil", "= error"}));
    network.hasConnections = true;
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "start"}));
}

TEST_F(VPNTunnelService, isConnectingBeforeItAsksThePlatform) {
    saveOurs();
    createAndSettle();
    network.onRequest = [this](const std::string& request) { trace.note(request); };
    service->start();
    EXPECT_EQ(trace.take(), (Lines{"[VPN] Starting VPN tunnel (current status: 1)", "= connecting",
                                   "start", "[VPN] Tunnel start initiated successfully"}));
}

struct Refusal {
    Error error;
    const char* line;
};

class RefusedStart : public VPNTunnelServiceTest, public ::testing::WithParamInterface<Refusal> {};

TEST_P(RefusedStart, isAnErrorUntilAConfigurationChangeLetsItThrough) {
    saveOurs();
    createAndSettle();
    network.tunnels.startError = GetParam().error;
    service->start();
    EXPECT_EQ(trace.take(), (Lines{"[VPN] Starting VPN tunnel (current status: 1)", "= connecting",
                                   GetParam().line, "= error"}));

    // Still refused, so still pending.
    network.tellConfigurationChange();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Configuration changed; reloading manager", "[VPN] raw status: 1",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 1)",
                     "[VPN] Starting VPN tunnel (current status: 1)", "= connecting",
                     GetParam().line, "= error"}));

    network.tunnels.startError.reset();
    network.tellConfigurationChange();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Configuration changed; reloading manager", "[VPN] raw status: 1",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 1)",
                     "[VPN] Starting VPN tunnel (current status: 1)", "= connecting",
                     "[VPN] Tunnel start initiated successfully",
                     "[VPN] Status notification received", "[VPN] raw status: 2", "= connecting",
                     "[VPN] Status changed: NEVPNStatus(rawValue: 2)"}));

    // No start is pending any more.
    network.tunnel().drop();
    network.requests.clear();
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
}

INSTANTIATE_TEST_SUITE_P(
    VPNTunnelService, RefusedStart,
    ::testing::Values(
        Refusal{{"NEVPNErrorDomain", 1, "invalid"}, "[VPN] Configuration is invalid"},
        Refusal{{"NEVPNErrorDomain", 2, "disabled"}, "[VPN] Configuration is disabled"},
        Refusal{{"NEVPNErrorDomain", 3, "failed"},
                "[VPN] Error starting VPN tunnel: failed (code: 3, domain: NEVPNErrorDomain)"},
        Refusal{{"NEVPNErrorDomain", -9, ""},
                "[VPN] Error starting VPN tunnel:  (code: -9, domain: NEVPNErrorDomain)"},
        // Codes 1 and 2 of another framework have other meanings.
        Refusal{{"NSCocoaErrorDomain", 1, "one"},
                "[VPN] Error starting VPN tunnel: one (code: 1, domain: NSCocoaErrorDomain)"},
        Refusal{{"NSCocoaErrorDomain", 2, "two"},
                "[VPN] Error starting VPN tunnel: two (code: 2, domain: NSCocoaErrorDomain)"}));

TEST_F(VPNTunnelService, startsOnceTheUserAllowsTheNewConfiguration) {
    network.requireApproval();
    createAndSettle();
    service->start();
    dispatch.runUntilIdle();
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::error);
    forget();

    dispatch.advance(seconds(60));
    network.decline();
    dispatch.runUntilIdle();
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::error);
    forget();

    dispatch.advance(seconds(60));
    network.allow();
    dispatch.advance(seconds(1));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "start"}));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
    EXPECT_EQ(network.configurations().size(), 1u);
}

TEST_F(VPNTunnelService, startsNothingAfterAStop) {
    for (const bool removes : {false, true}) {
        saveOurs();
        createAndSettle();
        network.tunnels.startError = permissionDenied;
        service->start();
        if (removes)
            service->removeConfiguration([] {});
        else
            service->stop();
        network.tunnels.startError.reset();
        dispatch.advance(seconds(1));
        saveOurs();
        network.tellConfigurationChange();
        dispatch.advance(seconds(10));
        EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "start"), 1);
        EXPECT_NE(service->connectionStatus.get(), VPNConnectionStatus::connected);
        destroy();
    }
}

TEST_F(VPNTunnelService, givesUpAStartThatIsStillLoading) {
    for (const double instant : {0.5, 1.5, 2.5, 3.5}) {
        network.answerDelay = seconds(1);
        create();
        dispatch.advance(seconds(5));
        service->start();
        dispatch.advance(seconds(instant));
        service->stop();
        dispatch.advance(seconds(20));
        EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "start"), 0);
        // A later start counts again.
        service->start();
        dispatch.advance(seconds(20));
        EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
        service->removeConfiguration([] {});
        dispatch.advance(seconds(20));
        destroy();
        forget();
    }
}

TEST_F(VPNTunnelService, keepsAStartPendingThatFoundNoManager) {
    network.errors[SimulatedNetworkExtension::Operation::loadAll] = permissionDenied;
    createAndSettle();
    service->start();
    dispatch.runUntilIdle();
    network.errors.clear();
    network.tellConfigurationChange();
    dispatch.advance(seconds(1));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
}

TEST_F(VPNTunnelService, ignoresConfigurationChangesWithoutAPendingStart) {
    saveOurs();
    createAndSettle();
    network.tellConfigurationChange();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Configuration changed; reloading manager", "[VPN] raw status: 1",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 1)"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
}

TEST_F(VPNTunnelService, startsOneTunnelForTwoStartsInARow) {
    createAndSettle();
    service->start();
    service->start();
    dispatch.runUntilIdle();
    // The second of the overlapping loads finds a complete configuration that is not saved yet: its
    // start is refused, the first one's succeeds.
    EXPECT_EQ(network.tunnels.needlessStarts, 0);
    EXPECT_EQ(network.configurations().size(), 1u);
    dispatch.advance(seconds(1));
    EXPECT_EQ(service->connectionStatus.get(), VPNConnectionStatus::connected);
}

} // namespace quoxelin::testing
