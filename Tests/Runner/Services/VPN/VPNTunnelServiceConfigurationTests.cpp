#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

namespace quoxelin::testing {

using VPNTunnelService = VPNTunnelServiceTest;

namespace {

using Network = SimulatedNetworkExtension;

/// A configuration of this application with one change.
template <typename Change>
VPNConfiguration oursBut(Change change) {
    auto configuration = Network::ofTunnel(ourProvider, "Quoxelin");
    change(configuration, *configuration.protocol);
    return configuration;
}

} // namespace

// Which configuration belongs to the application

TEST_F(VPNTunnelService, doesNotChangeTheConfigurationOfAnotherApplication) {
    // The name does not make it ours.
    network.addConfiguration(network.ofTunnel(foreignProvider, "Quoxelin"));
    createAndSettle();
    service->ensureConfigurationSaved(noting("saved"));
    const auto lines = settleAndTake();
    EXPECT_EQ(lines.front(), "[VPN] Found existing manager(s) but none match Quoxelin; creating a "
                             "new manager");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), lines.front()), 1);
    const auto saved = network.configurations();
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(saved[0].protocol->providerBundleIdentifier, foreignProvider);
    EXPECT_EQ(saved[1].protocol->providerBundleIdentifier, ourProvider);
}

TEST_F(VPNTunnelService, matchesOnlyTunnelsWithExactlyItsProvider) {
    network.addConfiguration({"Quoxelin", true, std::nullopt});
    network.addConfiguration(
        oursBut([](auto&, auto& tunnel) { tunnel.providerBundleIdentifier.reset(); }));
    network.addConfiguration(network.ofTunnel("", "Quoxelin"));
    network.addConfiguration(network.ofTunnel("com.quoxelin.desktop.packettunnel", "Q"));
    network.addConfiguration(network.ofTunnel(std::string(ourProvider) + ".Extra", "Quoxelin"));
    create();
    EXPECT_EQ(settleAndTake().front(), "[VPN] No saved Quoxelin VPN configuration");
}

TEST_F(VPNTunnelService, adoptsTheFirstOfSeveralMatches) {
    network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
    network.addConfiguration(network.ofTunnel(ourProvider, "First"));
    network.addConfiguration(network.ofTunnel(ourProvider, "Second"));
    network.tunnel(1).report(3);
    network.tunnel(2).report(5);
    dispatch.runUntilIdle();
    create();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Adopted existing VPN configuration", "[VPN] raw status: 3",
                     "= connected", "[VPN] Status changed: NEVPNStatus(rawValue: 3)"}));
}

TEST_F(VPNTunnelService, asksForTheBundleIdentifierForEachManagerItLooksAt) {
    const std::string fallback =
        "[VPN] Missing host bundle identifier; falling back to default PacketTunnel id";
    system.mainBundle.identifier.reset();
    network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
    network.addConfiguration({"None", true, std::nullopt});
    network.addConfiguration(network.ofTunnel(ourProvider, "Quoxelin"));
    network.addConfiguration(network.ofTunnel(foreignProvider, "Never looked at"));
    create();
    EXPECT_EQ(settleAndTake(),
              (Lines{fallback, fallback, fallback, "[VPN] Adopted existing VPN configuration",
                     "[VPN] raw status: 1", "= disconnected",
                     "[VPN] Status changed: NEVPNStatus(rawValue: 1)"}));
}

TEST_F(VPNTunnelService, configuresTheDefaultProviderWithoutABundleIdentifier) {
    for (const auto& missing : {std::optional<std::string>(), std::optional<std::string>("")}) {
        system.mainBundle.identifier = missing;
        createAndSettle();
        service->ensureConfigurationSaved(noting("saved"));
        dispatch.runUntilIdle();
        ASSERT_EQ(network.configurations().size(), 1u);
        EXPECT_EQ(network.configurations()[0].protocol->providerBundleIdentifier, ourProvider);
        destroy();
    }
}

TEST_F(VPNTunnelService, takesTheProviderFromTheBundleIdentifier) {
    system.mainBundle.identifier = "org.example.white-label";
    createAndSettle();
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    EXPECT_EQ(network.configurations().at(0).protocol->providerBundleIdentifier,
              "org.example.white-label.PacketTunnel");
}

struct Naming {
    std::map<std::string, std::string> dictionary;
    const char* name;
};

void PrintTo(const Naming& naming, std::ostream* out) {
    *out << naming.name;
}

class LocalizedDescription : public VPNTunnelServiceTest,
                             public ::testing::WithParamInterface<Naming> {};

TEST_P(LocalizedDescription, isTheFirstNonblankNameUntrimmed) {
    system.mainBundle.infoDictionary = GetParam().dictionary;
    system.processInfo.name = "process";
    createAndSettle();
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    EXPECT_EQ(network.configurations().at(0).localizedDescription, GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    VPNTunnelService, LocalizedDescription,
    ::testing::Values(
        Naming{{{"CFBundleDisplayName", "Display"}, {"CFBundleName", "Name"}}, "Display"},
        Naming{{{"CFBundleDisplayName", " Display\n"}}, " Display\n"},
        Naming{{{"CFBundleDisplayName", ""}, {"CFBundleName", "Name"}}, "Name"},
        Naming{{{"CFBundleDisplayName", " \t\r\n"}, {"CFBundleName", " Name "}}, " Name "},
        // An ideographic space is white space.
        Naming{{{"CFBundleDisplayName", "\xE3\x80\x80"}, {"CFBundleName", "Name"}}, "Name"},
        Naming{{{"CFBundleName", "Name"}}, "Name"},
        Naming{{{"CFBundleDisplayName", " "}, {"CFBundleName", "\n"}}, "process"},
        Naming{{}, "process"}));

// The contents of the configuration

TEST_F(VPNTunnelService, savesAndReloadsACorrectConfigurationOnlyWhenForced) {
    saveOurs();
    createAndSettle();
    network.tellConfigurationChange();
    dispatch.runUntilIdle();
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
    forget();
    service->ensureConfigurationSaved(noting("saved"));
    EXPECT_EQ(settleAndTake(), (Lines{"[VPN] raw status: 1", "= disconnected",
                                      "[VPN] Status changed: NEVPNStatus(rawValue: 1)", "saved"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "save", "load"}));
}

struct Deviation {
    const char* what;
    VPNConfiguration configuration;
    /// Whether it is saved without force: on a platform that returns the protocol itself, and on
    /// one that returns copies.
    bool savedByReference;
    bool savedByCopy;
};

class DeviatingConfiguration : public VPNTunnelServiceTest,
                               public ::testing::WithParamInterface<Deviation> {
  public:
    void change(bool sharesProtocols, bool isSaved) {
        network.sharesProtocols = sharesProtocols;
        network.addConfiguration(GetParam().configuration);
        createAndSettle();
        network.tellConfigurationChange();
        dispatch.runUntilIdle();
        EXPECT_EQ(std::count(network.requests.begin(), network.requests.end(), "save"), isSaved)
            << GetParam().what;
        const auto now = network.configurations().at(0);
        if (isSaved) {
            EXPECT_EQ(now.localizedDescription, "Quoxelin");
            EXPECT_TRUE(now.isEnabled);
        } else {
            EXPECT_EQ(now.protocol->serverAddress,
                      GetParam().configuration.protocol->serverAddress);
        }
    }
};

TEST_P(DeviatingConfiguration, isCorrectedByReference) {
    change(true, GetParam().savedByReference);
}

TEST_P(DeviatingConfiguration, isCorrectedByCopy) {
    change(false, GetParam().savedByCopy);
}

INSTANTIATE_TEST_SUITE_P(
    VPNTunnelService, DeviatingConfiguration,
    ::testing::Values(
        Deviation{"none", oursBut([](auto&, auto&) {}), false, false},
        // Set before the comparison: by reference it is equal then, and is not saved.
        Deviation{"address",
                  oursBut([](auto&, auto& tunnel) { tunnel.serverAddress = "elsewhere"; }), false,
                  true},
        Deviation{"no address", oursBut([](auto&, auto& tunnel) { tunnel.serverAddress.reset(); }),
                  false, true},
        // Set but never compared.
        Deviation{"sleep", oursBut([](auto&, auto& tunnel) { tunnel.disconnectOnSleep = true; }),
                  false, false},
        Deviation{"name", oursBut([](auto& all, auto&) { all.localizedDescription = "Old"; }), true,
                  true},
        Deviation{"no name", oursBut([](auto& all, auto&) { all.localizedDescription.reset(); }),
                  true, true},
        Deviation{"disabled", oursBut([](auto& all, auto&) { all.isEnabled = false; }), true,
                  true}),
    [](const auto& info) {
        std::string name = info.param.what;
        name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
        return name;
    });

TEST_F(VPNTunnelService, correctsEverythingWhenForcedToSave) {
    const auto deviating = oursBut([](auto& all, auto& tunnel) {
        all.localizedDescription = "Old";
        all.isEnabled = false;
        tunnel.serverAddress = "elsewhere";
        tunnel.disconnectOnSleep = true;
    });
    for (const bool sharesProtocols : {true, false}) {
        network.sharesProtocols = sharesProtocols;
        network.addConfiguration(deviating);
        createAndSettle();
        service->ensureConfigurationSaved(noting("saved"));
        dispatch.runUntilIdle();
        const auto saved = network.configurations().at(0);
        EXPECT_EQ(saved.localizedDescription, "Quoxelin");
        EXPECT_TRUE(saved.isEnabled);
        EXPECT_EQ(saved.protocol->serverAddress, "localhost");
        EXPECT_FALSE(saved.protocol->disconnectOnSleep);
        destroy();
        network.removeConfiguration(0);
        dispatch.runUntilIdle();
    }
}

TEST_F(VPNTunnelService, createsOneConfigurationHoweverLongSavingTakes) {
    createAndSettle();
    network.answerDelay = seconds(1);
    for (int count = 0; count < 5; ++count) {
        service->ensureConfigurationSaved(noting("saved"));
        dispatch.advance(seconds(0.6));
    }
    dispatch.advance(seconds(20));
    EXPECT_EQ(network.configurations().size(), 1u);
    const auto lines = trace.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "saved"), 5);
    // If the user removes it, a new one is created.
    network.removeConfiguration(0);
    dispatch.advance(seconds(20));
    EXPECT_EQ(network.configurations().size(), 1u);
}

TEST_F(VPNTunnelService, createsOneConfigurationAfterAFailure) {
    createAndSettle();
    network.errors[Network::Operation::save] = ioError;
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    network.errors.clear();
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.runUntilIdle();
    EXPECT_EQ(network.configurations().size(), 1u);
}

// Failures

TEST_F(VPNTunnelService, completesWhenThePreferencesCannotBeRead) {
    createAndSettle();
    network.errors[Network::Operation::loadAll] = ioError;
    service->ensureConfigurationSaved(noting("saved"));
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Error loading VPN preferences: read/write failed",
                     "[VPN] updateStatus: manager or connection is nil", "saved"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll"}));
}

TEST_F(VPNTunnelService, completesWhenTheConfigurationCannotBeLoaded) {
    saveOurs();
    createAndSettle();
    network.errors[Network::Operation::load] = ioError;
    service->ensureConfigurationSaved(noting("saved"));
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Error loading preferences: read/write failed", "[VPN] raw status: 1",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 1)", "saved"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load"}));
}

TEST_F(VPNTunnelService, completesWhenTheConfigurationCannotBeSaved) {
    createAndSettle();
    network.errors[Network::Operation::save] = ioError;
    service->ensureConfigurationSaved(noting("saved"));
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Failed to save configuration: read/write failed", "[VPN] raw status: 0",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 0)", "saved"}));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "save"}));
}

TEST_F(VPNTunnelService, logsNothingWhenTheSavedConfigurationCannotBeReloaded) {
    saveOurs();
    createAndSettle();
    network.answerDelay = seconds(1);
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.advance(seconds(3.5));
    EXPECT_EQ(network.requests, (Lines{"loadAll", "load", "save", "load"}));
    network.errors[Network::Operation::load] = ioError;
    dispatch.advance(seconds(1));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"4 [VPN] raw status: 1", "4 = disconnected",
                     "4 [VPN] Status changed: NEVPNStatus(rawValue: 1)", "4 saved"}));
}

TEST_F(VPNTunnelService, doesNotStartAConfigurationThatCouldNotBeSaved) {
    createAndSettle();
    network.errors[Network::Operation::save] = ioError;
    service->start();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[VPN] Failed to save configuration: read/write failed", "[VPN] raw status: 0",
                     "= disconnected", "[VPN] Status changed: NEVPNStatus(rawValue: 0)",
                     "[VPN] Starting VPN tunnel (current status: 0)", "= connecting",
                     "[VPN] Configuration is invalid", "= error"}));
}

TEST_F(VPNTunnelService, doesNotConfigureAManagerRemovedMeanwhile) {
    saveOurs();
    createAndSettle();
    network.answerDelay = seconds(1);
    service->removeConfiguration(noting("removed"));
    dispatch.advance(seconds(0.5));
    service->ensureConfigurationSaved(noting("saved"));
    dispatch.advance(seconds(1.75));
    // The removal has cleared the manager before its load completes.
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"2 [VPN] Configuration changed; reloading manager", "2 = disconnected",
                     "2 [VPN] Removed 1 VPN configuration(s)", "2 removed"}));
    network.requests.clear();
    dispatch.advance(seconds(0.5));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"2.5 [VPN] updateStatus: manager or connection is nil", "2.5 saved"}));
    EXPECT_EQ(network.requests, Lines{});
}

TEST_F(VPNTunnelService, doesNothingWithAReloadedConfigurationAfterItsEnd) {
    saveOurs();
    createAndSettle();
    network.answerDelay = seconds(1);
    network.tellConfigurationChange();
    EXPECT_EQ(settleAndTake(), Lines{"[VPN] Configuration changed; reloading manager"});
    destroy();
    dispatch.advance(seconds(10));
    EXPECT_EQ(trace.take(), Lines{});
}

} // namespace quoxelin::testing
