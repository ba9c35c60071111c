#include "Simulation/System/SimulatedNetworkExtension.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

using Network = quoxelin::SimulatedNetworkExtension;
using Manager = std::shared_ptr<NETunnelProviderManager>;

class SimulatedNetworkExtensionTest : public ::testing::Test {
  public:
    SimulatedNetworkExtensionTest() {
        subscriptions.push_back(notificationCenter.addObserver(
            NEVPNConfigurationChange, [this](const Notification&) { ++configurationChanges; }));
        subscriptions.push_back(
            notificationCenter.addObserver(NEVPNStatusDidChange, [this](const Notification&) {
                if (held)
                    statuses.emplace_back(dispatch.now(), held->status().value());
            }));
    }

    Network::Managers loadAll() {
        Network::Managers managers;
        network.loadAllFromPreferences([&](auto loaded) { managers = loaded.value_or(managers); });
        dispatch.advance(network.answerDelay);
        return managers;
    }

    /// Saves a new configuration.
    Manager saveNew(const std::string& provider, const std::string& name) {
        const auto manager = network.makeTunnelProviderManager();
        EXPECT_EQ(save(manager, Network::ofTunnel(provider, name)), std::nullopt);
        return manager;
    }

    std::optional<Error> save(const Manager& manager, const VPNConfiguration& configuration) {
        return outcome(
            [&](auto completion) { manager->saveToPreferences(configuration, completion); });
    }
    std::optional<Error> load(const Manager& manager) {
        return outcome([&](auto completion) { manager->loadFromPreferences(completion); });
    }
    std::optional<Error> remove(const Manager& manager) {
        return outcome([&](auto completion) { manager->removeFromPreferences(completion); });
    }

    std::optional<Error> outcome(std::function<void(PreferencesCompletion)> operation) {
        std::optional<Error> outcome{Error{"no answer", 0, ""}};
        operation([&](auto error) { outcome = error; });
        dispatch.advance(network.answerDelay);
        dispatch.runUntilIdle();
        return outcome;
    }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    Network network{dispatch, notificationCenter};
    int configurationChanges = 0;
    Manager held;
    std::vector<std::pair<Duration, int>> statuses;
    std::vector<Subscription> subscriptions;
};

using SimulatedNetworkExtension = SimulatedNetworkExtensionTest;

TEST_F(SimulatedNetworkExtension, showsAChangeToAManagerOnceItIsLoaded) {
    const auto first = saveNew("one", "First");
    const auto second = loadAll().at(0);
    const auto changed = Network::ofTunnel("one", "Changed");
    EXPECT_EQ(save(first, changed), std::nullopt);
    EXPECT_EQ(first->configuration(), changed);
    EXPECT_EQ(second->configuration().localizedDescription, "First");
    EXPECT_EQ(load(second), std::nullopt);
    EXPECT_EQ(second->configuration(), changed);
}

TEST_F(SimulatedNetworkExtension, readsAnUnsavedConfigurationAsEmpty) {
    const auto manager = network.makeTunnelProviderManager();
    EXPECT_EQ(load(manager), std::nullopt);
    EXPECT_EQ(manager->configuration(), VPNConfiguration());
    EXPECT_TRUE(loadAll().empty());
}

TEST_F(SimulatedNetworkExtension, reportsNoChangeIfNothingChanged) {
    auto configuration = Network::ofTunnel("one", "First");
    const auto manager = saveNew("one", "First");
    EXPECT_EQ(save(manager, configuration), std::nullopt);
    EXPECT_EQ(configurationChanges, 1);
    configuration.protocol->disconnectOnSleep = true;
    EXPECT_EQ(save(manager, configuration), std::nullopt);
    EXPECT_EQ(configurationChanges, 2);
}

TEST_F(SimulatedNetworkExtension, removesAConfigurationForAllManagers) {
    const auto manager = saveNew("one", "First");
    const auto other = loadAll().at(0);
    EXPECT_EQ(remove(manager), std::nullopt);
    EXPECT_TRUE(loadAll().empty());
    EXPECT_EQ(other->status(), 0);
    EXPECT_EQ(load(other), std::nullopt);
    EXPECT_EQ(other->configuration(), VPNConfiguration());
    EXPECT_EQ(remove(other), std::nullopt);
    EXPECT_EQ(configurationChanges, 2);
}

TEST_F(SimulatedNetworkExtension, failsWhenTheAnswerIsDueAndWithoutEffect) {
    const Error error{"domain", 7, "text"};
    const auto manager = saveNew("one", "First");
    network.answerDelay = seconds(1);
    for (const auto operation : {Network::Operation::loadAll, Network::Operation::load,
                                 Network::Operation::save, Network::Operation::remove})
        network.errors[operation] = error;
    EXPECT_EQ(save(manager, Network::ofTunnel("one", "Changed")), error);
    EXPECT_EQ(load(manager), error);
    EXPECT_EQ(remove(manager), error);
    EXPECT_EQ(network.configurations().at(0).localizedDescription, "First");
    std::optional<Error> failure;
    network.loadAllFromPreferences([&](auto loaded) { failure = loaded.error(); });
    dispatch.advance(seconds(0.5));
    EXPECT_EQ(failure, std::nullopt);
    dispatch.advance(seconds(0.5));
    EXPECT_EQ(failure, error);
}

TEST_F(SimulatedNetworkExtension, answersOnTheChosenThread) {
    bool answered = false;
    bool onMainThread = false;
    const auto ask = [&] {
        answered = false;
        network.loadAllFromPreferences([&](const auto&) {
            answered = true;
            onMainThread = dispatch.isMainThread();
        });
    };
    network.answers = Network::Answers::beforeReturning;
    ask();
    EXPECT_TRUE(answered);
    EXPECT_TRUE(onMainThread);
    network.answers = Network::Answers::onMainThread;
    ask();
    EXPECT_FALSE(answered);
    dispatch.runUntilIdle();
    EXPECT_TRUE(answered);
    EXPECT_TRUE(onMainThread);
    network.answers = Network::Answers::onAnotherThread;
    ask();
    dispatch.runUntilIdle();
    EXPECT_TRUE(answered);
    EXPECT_FALSE(onMainThread);
}

TEST_F(SimulatedNetworkExtension, bringsATunnelUpAndDownAfterADelay) {
    held = saveNew("one", "First");
    EXPECT_EQ(held->status(), 1);
    EXPECT_TRUE(held->startVPNTunnel().has_value());
    EXPECT_EQ(held->status(), 2);
    dispatch.advance(seconds(5));
    held->stopVPNTunnel();
    held->stopVPNTunnel();
    dispatch.advance(seconds(5));
    EXPECT_EQ(statuses, (std::vector<std::pair<Duration, int>>{
                            {seconds(0), 2}, {seconds(1), 3}, {seconds(5), 5}, {seconds(5.5), 1}}));
    held->stopVPNTunnel();
    dispatch.runUntilIdle();
    EXPECT_EQ(statuses.size(), 4u);
}

TEST_F(SimulatedNetworkExtension, takesATunnelDownThatWasComingUp) {
    held = saveNew("one", "First");
    EXPECT_TRUE(held->startVPNTunnel().has_value());
    dispatch.advance(seconds(0.5));
    held->stopVPNTunnel();
    dispatch.advance(seconds(5));
    EXPECT_EQ(statuses, (std::vector<std::pair<Duration, int>>{
                            {seconds(0), 2}, {seconds(0.5), 5}, {seconds(1), 1}}));
}

TEST_F(SimulatedNetworkExtension, countsUnnecessaryStarts) {
    held = saveNew("one", "First");
    EXPECT_TRUE(held->startVPNTunnel().has_value());
    EXPECT_EQ(network.tunnels.needlessStarts, 0);
    EXPECT_TRUE(held->startVPNTunnel().has_value());
    dispatch.advance(seconds(2));
    EXPECT_TRUE(held->startVPNTunnel().has_value());
    EXPECT_EQ(network.tunnels.needlessStarts, 2);
    EXPECT_EQ(held->status(), 3);
}

TEST_F(SimulatedNetworkExtension, refusesToStartUnsavedForbiddenOrDisabledConfigurations) {
    const auto codeOf = [](const Manager& manager) {
        const auto started = manager->startVPNTunnel();
        return started ? 0 : started.error().code;
    };
    EXPECT_EQ(codeOf(network.makeTunnelProviderManager()), 1);
    network.requireApproval({"NEVPNErrorDomain", 5, "ask"});
    const auto manager = saveNew("one", "First");
    EXPECT_EQ(codeOf(manager), 5);
    configurationChanges = 0;
    network.decline();
    dispatch.runUntilIdle();
    EXPECT_EQ(configurationChanges, 1);
    EXPECT_EQ(codeOf(manager), 5);
    network.allow();
    dispatch.runUntilIdle();
    EXPECT_EQ(configurationChanges, 2);
    EXPECT_EQ(codeOf(manager), 0);
    network.tunnel().drop();
    EXPECT_EQ(save(manager, {"First", false, std::nullopt}), std::nullopt);
    EXPECT_EQ(codeOf(manager), 2);
    network.tunnels.startError = Error{"domain", 42, "no"};
    EXPECT_EQ(codeOf(manager), 42);
}

} // namespace quoxelin::testing
