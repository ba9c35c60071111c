#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

namespace quoxelin::testing {

using VPNTunnelService = VPNTunnelServiceTest;

namespace {

using Network = SimulatedNetworkExtension;

} // namespace

TEST_F(VPNTunnelService, removesOnlyItsConfigurations) {
    saveOurs();
    network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
    network.addConfiguration(network.ofTunnel(ourProvider, "Second"));
    createAndSettle();
    service->removeConfiguration(noting("removed"));
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests[0], "loadAll");
    EXPECT_EQ(network.requests[1], "remove");
    EXPECT_EQ(network.requests[2], "remove");
    const auto saved = network.configurations();
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(saved.at(0).protocol->providerBundleIdentifier, foreignProvider);
}

TEST_F(VPNTunnelService, clearsPublishesAndLogsBeforeItCompletesARemoval) {
    saveOurs();
    network.addConfiguration(network.ofTunnel(ourProvider, "Second"));
    createAndSettle();
    network.answerDelay = seconds(1);
    service->removeConfiguration([this] {
        trace.note("removed");
        // The manager has been released: a start has to look for one.
        network.requests.clear();
        service->start();
        EXPECT_EQ(network.requests, (Lines{"loadAll"}));
    });
    dispatch.advance(seconds(2));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"2 [VPN] Configuration changed; reloading manager",
                     "2 [VPN] Configuration changed; reloading manager", "2 = disconnected",
                     "2 [VPN] Removed 2 VPN configuration(s)", "2 removed"}));
}

TEST_F(VPNTunnelService, recreatesARemovedConfigurationOnlyOnRequest) {
    saveOurs();
    createAndSettle();
    service->removeConfiguration([] {});
    // Notified before the removal completes, as some platforms do, and again afterward.
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_TRUE(network.configurations().empty());
    service->ensureConfigurationSaved([] {});
    dispatch.runUntilIdle();
    EXPECT_EQ(network.configurations().size(), 1u);
    service->removeConfiguration([] {});
    dispatch.runUntilIdle();
    EXPECT_TRUE(network.configurations().empty());
    service->start();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.configurations().size(), 1u);
}

TEST_F(VPNTunnelService, savesNothingWhileARemovalIsUnderWay) {
    saveOurs();
    createAndSettle();
    service->removeConfiguration(noting("removed"));
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    EXPECT_TRUE(network.configurations().empty());
    const auto lines = trace.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "saved"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "removed"), 1);
}

TEST_F(VPNTunnelService, removesNothingBeforeEverySaveIsAnswered) {
    saveOurs();
    createAndSettle();
    int saves = 0;
    network.onRequest = [&](const std::string& request) {
        if (request == "save")
            network.answerDelay = seconds(++saves == 1 ? 1 : 5);
    };
    service->ensureConfigurationSaved([] {});
    service->ensureConfigurationSaved([] {});
    dispatch.runUntilIdle();
    ASSERT_EQ(saves, 2);
    network.answerDelay = seconds(0);
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(4));
    EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "remove"), 0);
    dispatch.advance(seconds(1));
    EXPECT_TRUE(network.configurations().empty());
}

TEST_F(VPNTunnelService, ignoresASecondAnswerOfThePlatform) {
    network.answersTwice = true;
    create();
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    service->removeConfiguration(noting("removed"));
    dispatch.runUntilIdle();
    const auto lines = trace.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "saved"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "removed"), 1);
}

TEST_F(VPNTunnelService, countsTheConfigurationsThatCouldNotBeRemoved) {
    saveOurs();
    network.addConfiguration(network.ofTunnel(ourProvider, "Second"));
    createAndSettle();
    network.errors[Network::Operation::remove] = ioError;
    service->removeConfiguration(noting("removed"));
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] removeFromPreferences failed: read/write failed",
                     "[VPN] removeFromPreferences failed: read/write failed", "= disconnected",
                     "[VPN] Removed 2 VPN configuration(s)", "removed"}));
    EXPECT_EQ(network.configurations().size(), 2u);
}

TEST_F(VPNTunnelService, clearsEvenIfNoSavedConfigurationIsItsOwn) {
    saveOurs();
    createAndSettle();
    network.changeConfiguration(0, network.ofTunnel(foreignProvider, "Other"));
    service->removeConfiguration(noting("removed"));
    dispatch.runUntilIdle();
    const auto lines = trace.take();
    const auto place =
        std::find(lines.begin(), lines.end(), "[VPN] Removed 0 VPN configuration(s)");
    ASSERT_NE(place, lines.end());
    EXPECT_EQ(*std::prev(place), "= disconnected");
    EXPECT_EQ(*std::next(place), "removed");
}

TEST_F(VPNTunnelService, completesARemovalWithoutMatchesOnALaterTurn) {
    network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
    createAndSettle();
    service->removeConfiguration(noting("removed"));
    // Runs right after the turn in which the service handles the loaded list.
    dispatch.main().async(
        [this] { dispatch.main().async([this] { trace.note("looked at the list"); }); });
    EXPECT_EQ(settleAndTake(), (Lines{"looked at the list", "= disconnected",
                                      "[VPN] Removed 0 VPN configuration(s)", "removed"}));
}

TEST_F(VPNTunnelService, completesARemovalAtOnceIfNothingIsSaved) {
    createAndSettle();
    service->removeConfiguration(noting("removed"));
    EXPECT_EQ(settleAndTake(), (Lines{"removed"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll"}));
}

TEST_F(VPNTunnelService, completesARemovalAtOnceWhenThePreferencesCannotBeRead) {
    saveOurs();
    createAndSettle();
    network.errors[Network::Operation::loadAll] = ioError;
    service->removeConfiguration(noting("removed"));
    EXPECT_EQ(settleAndTake(), (Lines{"removed"}));
    // The manager has been kept.
    service->start();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "start"}));
}

TEST_F(VPNTunnelService, leavesNothingBehindThatWasBeingSaved) {
    for (const double instant : {0.0, 0.5, 1.5, 2.5, 3.5}) {
        network.answerDelay = seconds(1);
        create();
        dispatch.advance(seconds(5));
        forget();
        service->ensureConfigurationSaved([] {});
        service->start();
        dispatch.advance(seconds(instant));
        service->removeConfiguration(noting("removed"));
        dispatch.advance(seconds(20));
        EXPECT_TRUE(network.configurations().empty()) << instant;
        EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "start"), 0);
        const auto lines = trace.take();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "removed"), 1);
        destroy();
    }
}

TEST_F(VPNTunnelService, removesAConfigurationHoweverLongItsSavingTakes) {
    createAndSettle();
    // The user is asked before a configuration is saved, but not before the list is read.
    network.onRequest = [this](const std::string& request) {
        network.answerDelay = seconds(request == "save" ? 60 : 0);
    };
    service->ensureConfigurationSaved([] {});
    dispatch.advance(seconds(1));
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(100));
    EXPECT_TRUE(network.configurations().empty());
    const auto lines = trace.takeTimed();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "60 removed"), 1);
}

TEST_F(VPNTunnelService, completesARemovalThatWaitedForASaveWhenItIsGone) {
    createAndSettle();
    network.answerDelay = seconds(1);
    service->ensureConfigurationSaved([] {});
    dispatch.advance(seconds(2.5));
    service->removeConfiguration(noting("removed"));
    destroy();
    dispatch.advance(seconds(20));
    EXPECT_EQ(trace.take(), Lines{"removed"});
}

TEST_F(VPNTunnelService, completesARemovalOnceEveryConfigurationHasAnswered) {
    for (int count = 0; count < 5; ++count)
        saveOurs();
    createAndSettle();
    network.answerDelay = seconds(1);
    network.answers = Network::Answers::onAnotherThread;
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(20));
    const auto lines = trace.takeTimed();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "2 removed"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "2 [VPN] Removed 5 VPN configuration(s)"), 1);
}

TEST_F(VPNTunnelService, savesNothingOnceARemovalHasBegun) {
    saveOurs();
    createAndSettle();
    network.answerDelay = seconds(1);
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.advance(seconds(1.5));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(20));
    EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "save"), 0);
    EXPECT_TRUE(network.configurations().empty());
}

} // namespace quoxelin::testing
