#include "Tests/Runner/AppDelegateFixture.h"

namespace quoxelin::testing {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class AppDelegateLifecycle : public AppDelegateFixture {
  protected:
    AppDelegateLifecycle() {
        launch();
        run();
        forget();
    }

    /// Delivers the URL as another program does. Returns whether it had any effect.
    bool wakesFor(const std::optional<std::string>& url) {
        forget();
        panel().orderOut();
        system.appleEventManager.sendGetURL(url);
        const bool logged = count("Authenticate called with token") == 1;
        EXPECT_EQ(logged, panel().isVisible());
        return logged;
    }
};

// The callback URL

TEST_F(AppDelegateLifecycle, wakesTheLoginPollAndShowsThePanelForACallback) {
    system.appleEventManager.sendGetURL("quoxelin://auth/callback?state=x&token=secret-token");
    EXPECT_THAT(lines("State"), ElementsAre("Authenticate called with token"));
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(system.application.activations(), 1);
    advance(seconds(1));
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 1u);
    for (const auto& line : log())
        EXPECT_EQ(line.find("secret-token"), std::string::npos) << line;
}

TEST_F(AppDelegateLifecycle, ignoresACallbackWithoutAToken) {
    EXPECT_FALSE(wakesFor("quoxelin://auth?token="));
    EXPECT_FALSE(wakesFor("quoxelin://auth?token"));
    EXPECT_FALSE(wakesFor("quoxelin://auth?code=abc"));
    EXPECT_FALSE(wakesFor("quoxelin://auth?Token=abc"));
    EXPECT_FALSE(wakesFor("quoxelin://auth/token=abc"));
    EXPECT_FALSE(wakesFor("quoxelin://auth#token=abc"));
    EXPECT_FALSE(wakesFor("quoxelin://auth"));
    advance(seconds(10));
    EXPECT_EQ(daemon.count("GET /localapi/v0/status"), 0u);
}

TEST_F(AppDelegateLifecycle, looksAtTheFirstTokenOnly) {
    EXPECT_FALSE(wakesFor("quoxelin://auth?token=&token=abc"));
    EXPECT_TRUE(wakesFor("quoxelin://auth?token=abc&token="));
}

TEST_F(AppDelegateLifecycle, acceptsEveryFormOfItsURLs) {
    EXPECT_TRUE(wakesFor("quoxelin:?token=abc"));
    EXPECT_TRUE(wakesFor("quoxelin://?token=abc"));
    EXPECT_TRUE(wakesFor("quoxelin:auth?token=abc"));
    EXPECT_TRUE(wakesFor("quoxelin://auth?token=%20"));
    EXPECT_TRUE(wakesFor("quoxelin://auth?%74oken=abc"));
}

TEST_F(AppDelegateLifecycle, ignoresOtherSchemes) {
    EXPECT_FALSE(wakesFor("https://quoxelin.com/?token=abc"));
    EXPECT_FALSE(wakesFor("quoxelin2://auth?token=abc"));
    EXPECT_FALSE(wakesFor("//auth?token=abc"));
    EXPECT_FALSE(wakesFor("?token=abc"));
}

TEST_F(AppDelegateLifecycle, ignoresAnEventWithoutAURL) {
    EXPECT_FALSE(wakesFor(std::nullopt));
    EXPECT_FALSE(wakesFor(""));
    EXPECT_FALSE(wakesFor("quoxelin://auth?token=%zz"));
    EXPECT_FALSE(wakesFor("quoxelin://a b?token=abc"));
    EXPECT_FALSE(wakesFor(std::string("quoxelin://a\0b?token=abc", 24)));
    EXPECT_FALSE(wakesFor("\xff\xfe"));
}

TEST_F(AppDelegateLifecycle, passesACallbackFromAnotherThreadToTheMainThread) {
    dispatch.global(QualityOfService::standard).async([&] {
        delegate->handleIncomingURL(*Url::parse("quoxelin://auth?token=abc"));
    });
    run();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(count("Authenticate called with token"), 1);
}

// The end

TEST_F(AppDelegateLifecycle, terminatesInOrder) {
    ASSERT_TRUE(system.panels.isMonitored());
    delegate->applicationWillTerminate();
    EXPECT_THAT(lines("App"),
                ElementsAre("Quoxelin Desktop App terminating...",
                            "Invoking quoxelin down via Helper",
                            "Quoxelin Desktop App terminated (quoxelind still running)"));
    EXPECT_FALSE(system.panels.isMonitored());
    EXPECT_THAT(system.networkExtension.requests, Contains("stop"));
    run();
    const auto messages = system.xpc.messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().arguments, std::vector<std::string>{"down"});
    EXPECT_THAT(daemon.requestLines(), IsEmpty());
}

TEST_F(AppDelegateLifecycle, terminatesWhenTheUserQuits) {
    EXPECT_TRUE(system.application.chooseMenuItem("Quit Quoxelin"));
    run();
    EXPECT_TRUE(system.application.hasTerminated());
    EXPECT_EQ(lines("App").back(), "Quoxelin Desktop App terminated (quoxelind still running)");
}

TEST_F(AppDelegateLifecycle, asksTheHelperBeforeItStopsTheTunnel) {
    const auto before = system.xpc.connectionsMade();
    auto announced = before + 1;
    whenLogged("[App] Invoking quoxelin down", [&] { announced = system.xpc.connectionsMade(); });
    whenLogged("[App] Quoxelin Desktop App terminated",
               [&] { EXPECT_FALSE(system.panels.isMonitored()); });
    auto atTheStop = before;
    system.networkExtension.onRequest = [&](const std::string& request) {
        if (request == "stop")
            atTheStop = system.xpc.connectionsMade();
    };
    delegate->applicationWillTerminate();
    EXPECT_EQ(announced, before);
    EXPECT_EQ(atTheStop, before + 1);
}

class AppDelegateBeforeLaunch : public AppDelegateFixture {};

TEST_F(AppDelegateBeforeLaunch, asksTheHelperAndThenStopsTheTunnelWithoutWaitingForEither) {
    // Each logs a line if there is no helper and no saved configuration.
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    delegate->applicationWillTerminate();
    EXPECT_EQ(lines("App").back(), "Quoxelin Desktop App terminated (quoxelind still running)");
    run();
    EXPECT_THAT(log(), Contains(StartsWith("[XPC] Failed to obtain HelperToolProtocol proxy")));
    EXPECT_EQ(log().back(), "[VPN] Nothing to stop; reporting disconnected");
}

} // namespace quoxelin::testing
