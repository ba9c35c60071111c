#include "Base/NotificationCenter.h"
#include "Platform/macOS/MacNetworkExtension.h"
#include "Platform/macOS/ObjC.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import <NetworkExtension/NetworkExtension.h>

namespace quoxelin::testing {

namespace {

using Managers = NetworkExtension::Managers;
using Failures = Answers<std::optional<Error>>;

PreferencesCompletion into(Failures& failures) {
    return [&failures, kept = keepsake()](std::optional<Error> error) {
        EXPECT_EQ(kept, keepsake());
        EXPECT_TRUE([NSThread isMainThread]);
        failures.add(std::move(error));
    };
}

class MacNetworkExtensionTest : public ServiceTest {
  protected:
    void loadAll() {
        extension.loadAllFromPreferences([this, kept = keepsake()](Result<Managers, Error> found) {
            EXPECT_EQ(kept, keepsake());
            EXPECT_TRUE([NSThread isMainThread]);
            loaded.add(std::move(found));
        });
    }

    void save(NETunnelProviderManager& manager, const VPNConfiguration& configuration) {
        Failures failures;
        manager.saveToPreferences(configuration, into(failures));
        EXPECT_TRUE(failures.arrive());
        EXPECT_EQ(failures.get().front(), std::nullopt);
    }

    std::shared_ptr<NETunnelProviderManager> saved() {
        auto manager = extension.makeTunnelProviderManager();
        save(*manager, configuration);
        return manager;
    }

    const VPNConfiguration configuration{
        "Quoxelin", true, {{"com.quoxelin.desktop.PacketTunnel", "Quoxelin"}}};
    NotificationCenter center;
    MacNetworkExtension extension{center};
    Answers<Result<Managers, Error>> loaded;
};

} // namespace

TEST_F(MacNetworkExtensionTest, findsNoConfigurationIfNoneIsSaved) {
    loadAll();
    EXPECT_TRUE(loaded.get().empty());
    ASSERT_TRUE(loaded.arrive());
    ASSERT_TRUE(loaded.get().front());
    EXPECT_TRUE(loaded.get().front()->empty());
}

TEST_F(MacNetworkExtensionTest, findsSavedConfigurations) {
    saved();
    loadAll();
    ASSERT_TRUE(loaded.arrive());
    const auto found = loaded.get().front();
    ASSERT_TRUE(found && found->size() == 1);
    EXPECT_EQ(found->front()->configuration(), configuration);
}

TEST_F(MacNetworkExtensionTest, reportsWhyLoadingFailed) {
    stage::failNext(@"loadAllFromPreferences", errorOf(::NEVPNErrorDomain, 5));
    loadAll();
    ASSERT_TRUE(loaded.arrive());
    ASSERT_FALSE(loaded.get().front());
    EXPECT_EQ(loaded.get().front().error(), (Error{"NEVPNErrorDomain", 5, "it did not work"}));
}

TEST_F(MacNetworkExtensionTest, reportsAnExceptionAsAFailure) {
    stage::raiseNext(@"loadAllFromPreferences", NSInternalInconsistencyException);
    loadAll();
    ASSERT_EQ(loaded.get().size(), 1u);
    EXPECT_EQ(loaded.get().front().error().domain, "NSInternalInconsistencyException");

    const auto manager = extension.makeTunnelProviderManager();
    Failures failures;
    for (NSString* operation in
         @[ @"loadFromPreferences", @"saveToPreferences", @"removeFromPreferences" ])
        stage::raiseNext(operation, NSGenericException);
    manager->loadFromPreferences(into(failures));
    manager->saveToPreferences(configuration, into(failures));
    manager->removeFromPreferences(into(failures));
    ASSERT_EQ(failures.get().size(), 3u);
    for (const auto& each : failures.get())
        EXPECT_EQ(each->domain, "NSGenericException");
}

TEST_F(MacNetworkExtensionTest, answersTwoAtATimeAndLate) {
    {
        const stage::Held held(@"loadAllFromPreferences");
        loadAll();
        loadAll();
        EXPECT_TRUE(loaded.get().empty());
    }
    EXPECT_TRUE(loaded.arrive(2));
}

TEST_F(MacNetworkExtensionTest, answersAfterTheManagerIsDestroyed) {
    Failures failures;
    {
        const stage::Held loading(@"loadFromPreferences"), saving(@"saveToPreferences"),
            removing(@"removeFromPreferences");
        const auto manager = extension.makeTunnelProviderManager();
        manager->loadFromPreferences(into(failures));
        manager->saveToPreferences(configuration, into(failures));
        manager->removeFromPreferences(into(failures));
    }
    EXPECT_TRUE(failures.arrive(3));
}

TEST_F(MacNetworkExtensionTest, reportsWhySavingFailed) {
    Failures failures;
    extension.makeTunnelProviderManager()->saveToPreferences({}, into(failures));
    ASSERT_TRUE(failures.arrive());
    EXPECT_EQ(failures.get().front()->code, NEVPNErrorConfigurationInvalid);
}

TEST_F(MacNetworkExtensionTest, savesAChangeAndReadsItAgain) {
    const auto manager = saved();
    loadAll();
    ASSERT_TRUE(loaded.arrive());
    const auto another = loaded.get().front()->front();
    auto changed = configuration;
    changed.protocol->disconnectOnSleep = true;
    changed.protocol->serverAddress = "elsewhere";
    save(*manager, changed);
    EXPECT_EQ(manager->configuration(), changed);
    EXPECT_EQ(another->configuration(), configuration);
    Failures failures;
    another->loadFromPreferences(into(failures));
    ASSERT_TRUE(failures.arrive());
    EXPECT_EQ(another->configuration(), changed);
}

TEST_F(MacNetworkExtensionTest, showsNoProtocolOfAnotherKindAndReplacesIt) {
    ::NETunnelProviderManager* const other = [[::NETunnelProviderManager alloc] init];
    other.protocolConfiguration = [[::NEVPNProtocol alloc] init];
    Failures failures;
    const auto completion = into(failures);
    [other saveToPreferencesWithCompletionHandler:^(NSError* error) {
        completion(toOptionalError(error));
    }];
    ASSERT_TRUE(failures.arrive());
    loadAll();
    ASSERT_TRUE(loaded.arrive());
    const auto manager = loaded.get().front()->front();
    EXPECT_EQ(manager->configuration().protocol, std::nullopt);
    save(*manager, configuration);
    EXPECT_EQ(manager->configuration(), configuration);
}

TEST_F(MacNetworkExtensionTest, removesAConfiguration) {
    const auto manager = saved();
    Failures failures;
    manager->removeFromPreferences(into(failures));
    ASSERT_TRUE(failures.arrive());
    loadAll();
    ASSERT_TRUE(loaded.arrive());
    EXPECT_TRUE(loaded.get().front()->empty());
}

TEST_F(MacNetworkExtensionTest, startsAndStopsTheTunnelAndReportsItsStatus) {
    const auto manager = saved();
    std::vector<int> seen;
    const auto observer = center.addObserver(NEVPNStatusDidChange, [&](const Notification&) {
        seen.push_back(manager->status().value());
    });
    ASSERT_TRUE(manager->startVPNTunnel());
    ASSERT_TRUE(comesTrue([&] { return manager->status() == 3; }));
    manager->stopVPNTunnel();
    ASSERT_TRUE(comesTrue([&] { return manager->status() == 1; }));
    EXPECT_EQ(seen, (std::vector<int>{2, 3, 5, 1}));
}

TEST_F(MacNetworkExtensionTest, reportsWhyATunnelEnded) {
    const auto manager = saved();
    Failures failures;
    manager->fetchLastDisconnectError(into(failures));
    ASSERT_TRUE(failures.arrive());
    EXPECT_EQ(failures.get().front(), std::nullopt);
    stage::failNext(@"fetchLastDisconnectError", errorOf(::NEVPNErrorDomain, 3));
    manager->fetchLastDisconnectError(into(failures));
    ASSERT_TRUE(failures.arrive(2));
    EXPECT_EQ(failures.get().back()->code, 3);
}

TEST_F(MacNetworkExtensionTest, reportsWhyATunnelDoesNotStart) {
    const auto unsaved = extension.makeTunnelProviderManager()->startVPNTunnel();
    ASSERT_FALSE(unsaved);
    EXPECT_EQ(unsaved.error().code, NEVPNErrorConfigurationInvalid);

    const auto manager = saved();
    save(*manager, {configuration.localizedDescription, false, configuration.protocol});
    EXPECT_FALSE(manager->configuration().isEnabled);
    const auto disabled = manager->startVPNTunnel();
    ASSERT_FALSE(disabled);
    EXPECT_EQ(disabled.error().domain, NEVPNErrorDomain);
    EXPECT_EQ(disabled.error().code, NEVPNErrorConfigurationDisabled);

    stage::raiseNext(@"startVPNTunnel", NSGenericException);
    EXPECT_EQ(manager->startVPNTunnel().error().domain, "NSGenericException");
}

TEST_F(MacNetworkExtensionTest, reportsAChangedConfiguration) {
    int changes = 0;
    const auto observer =
        center.addObserver(NEVPNConfigurationChange, [&](const Notification&) { ++changes; });
    saved();
    EXPECT_TRUE(comesTrue([&] { return changes == 1; }));
}

} // namespace quoxelin::testing
