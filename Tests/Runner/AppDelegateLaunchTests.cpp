#include "Tests/Runner/AppDelegateFixture.h"

#include <algorithm>

namespace quoxelin::testing {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class AppDelegateLaunch : public AppDelegateFixture {};

TEST_F(AppDelegateLaunch, takesItsStepsInOrder) {
    std::vector<std::string> moments;
    const auto noteWhatIsDone = [&](const std::string& moment) {
        const std::vector<std::pair<const char*, bool>> steps{
            {" permission", !system.userNotificationCenter.authorizationRequests().empty()},
            {" item", system.statusBar.button() != nullptr},
            {" panel", system.panels.isMonitored()},
            {" menu", !system.application.mainMenu().empty()},
            {" login", loginItem().registrations() > 0},
            {" helper", helper().registrations() > 0}};
        moments.push_back(moment + ":");
        for (const auto& [step, isDone] : steps)
            moments.back() += isDone ? step : "";
    };
    const auto updater = system.updates.makeStandardUpdaterController(false);
    const auto started = updater->updater().observeCanCheckForUpdates([&](bool canCheck) {
        if (canCheck)
            noteWhatIsDone("updater started");
    });
    system.systemLog.onEntry = [&](const auto& entry) { noteWhatIsDone(entry.text); };
    // Both leave a line at once: a URL that waits for its handler, and a helper without a proxy.
    system.appleEventManager.sendGetURL("quoxelin://auth?token=abc");
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    system.statusBar.images.clear();
    launch();
    system.systemLog.onEntry = nullptr;
    moments.resize(7);
    EXPECT_THAT(
        moments,
        ElementsAre("[App] Quoxelin Desktop App Launching...:", "updater started:",
                    "[App] Setting up Menu Bar...: permission",
                    "[App] Menu bar icon asset not found: menu_icon: permission item",
                    "[State] Authenticate called with token: permission item panel menu",
                    "[App] Registered app as login item (status: 1): permission item panel menu "
                    "login",
                    "[XPC] Failed to obtain HelperToolProtocol proxy for: "
                    "com.quoxelin.desktop.Helper: permission item panel menu login helper"));
}

TEST_F(AppDelegateLaunch, startsTheStateOnceEverythingElseIsReady) {
    launch();
    EXPECT_EQ(helper().registrations(), 1);
    EXPECT_TRUE(system.appleEventManager.hasHandler("GURL", "GURL"));
    EXPECT_NE(system.panels.panel(), nullptr);
    EXPECT_THAT(system.userNotificationCenter.authorizationRequests(), ElementsAre(7u));

    run();
    EXPECT_THAT(lines("App"),
                ElementsAre("Quoxelin Desktop App Launching...", "Setting up Menu Bar...",
                            "Registered app as login item (status: 1)",
                            "Helper is ready and reachable. Starting daemon...",
                            "System Extension activated, ensuring VPN configuration...",
                            "VPN configuration ready, starting app state..."));
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateLaunch, announcesEachStepAndTakesThemInOrder) {
    std::vector<std::string> before;
    whenLogged("[App] System Extension activated",
               [&] { before = std::exchange(system.networkExtension.requests, {}); });
    whenLogged("[SysExt] Activating extension",
               [&] { EXPECT_TRUE(system.systemExtensions.requests().empty()); });
    launch();
    run();
    const Lines steps{"[App] Helper is ready and reachable. Starting daemon...",
                      "[CLI] Invoking quoxelind up via Helper at path: ",
                      "[SysExt] Activating extension ",
                      "[App] System Extension activated, ensuring VPN configuration...",
                      "[App] VPN configuration ready, starting app state...",
                      "[State] start() called"};
    EXPECT_EQ(logged(steps), steps);
    EXPECT_THAT(before, ElementsAre("loadAll"));
    EXPECT_EQ(system.networkExtension.requests.front(), "loadAll");
    EXPECT_EQ(system.networkExtension.configurations().size(), 1u);
}

// Notifications

TEST_F(AppDelegateLaunch, logsAnErrorWhenItAsksForNotifications) {
    system.userNotificationCenter.failAuthorization(Error{"UNErrorDomain", 1, "Not allowed here."});
    launch();
    run();
    EXPECT_EQ(count("App", "Notification permission error: Not allowed here."), 1);
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateLaunch, logsNothingWhenNotificationsAreRefused) {
    launch();
    system.userNotificationCenter.answer(false);
    run();
    EXPECT_THAT(lines("App"), Not(Contains(StartsWith("Notification permission error"))));
}

TEST_F(AppDelegateLaunch, showsNotificationsWhileInFront) {
    launch();
    system.userNotificationCenter.answer(true);
    system.userNotificationCenter.setApplicationActive(true);
    system.userNotificationCenter.add({"id", "title", "body", false});
    run();
    const auto delivered = system.userNotificationCenter.delivered();
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].presentationOptions, 18u);
}

TEST_F(AppDelegateLaunch, isHeldWeaklyByTheNotificationCenter) {
    launch();
    run();
    system.userNotificationCenter.answer(true);
    system.userNotificationCenter.setApplicationActive(true);
    const std::weak_ptr<AppDelegate> weak = delegate;
    delegate.reset();
    EXPECT_TRUE(weak.expired());
    system.userNotificationCenter.add({"id", "title", "body", false});
    run();
    EXPECT_THAT(system.userNotificationCenter.delivered(), IsEmpty());
}

// The login item

TEST_F(AppDelegateLaunch, registersTheLoginItemOncePerBuild) {
    launch();
    EXPECT_EQ(loginItem().registrations(), 1);
    EXPECT_EQ(system.userDefaults.string("loginItemRegisteredBuild"), "1");

    makeDelegate()->applicationDidFinishLaunching();
    EXPECT_EQ(loginItem().registrations(), 1);
    EXPECT_EQ(count("App", "Registered app as login item (status: 1)"), 1);

    system.mainBundle.infoDictionary["CFBundleVersion"] = "2";
    makeDelegate()->applicationDidFinishLaunching();
    EXPECT_EQ(loginItem().registrations(), 2);
    EXPECT_EQ(system.userDefaults.string("loginItemRegisteredBuild"), "2");
}

TEST_F(AppDelegateLaunch, logsThatTheLoginItemCannotBeRegistered) {
    loginItem().failRegistration(Error{"SMAppServiceErrorDomain", 1, "Not today."});
    launch();
    EXPECT_EQ(count("App", "Login item register failed: Not today."), 1);
    EXPECT_FALSE(system.userDefaults.contains("loginItemRegisteredBuild"));
}

TEST_F(AppDelegateLaunch, registersTheLoginItemOnEveryLaunchOfAnUnknownBuild) {
    system.mainBundle.infoDictionary.erase("CFBundleVersion");
    launch();
    makeDelegate()->applicationDidFinishLaunching();
    EXPECT_EQ(loginItem().registrations(), 2);
}

TEST_F(AppDelegateLaunch, forgetsTheOlderFlagOfTheLoginItem) {
    system.userDefaults.setBool("loginItemRegistered", true);
    system.userDefaults.set("loginItemRegisteredBuild", "1");
    launch();
    EXPECT_FALSE(system.userDefaults.contains("loginItemRegistered"));
    EXPECT_EQ(loginItem().registrations(), 0);
}

// The system extension and the application's state

TEST_F(AppDelegateLaunch, startsTheStateAnywayWhenTheExtensionFails) {
    system.systemExtensions.activationError = Error{OSSystemExtensionErrorDomain, 8, "Invalid."};
    launch();
    run();
    const Lines steps{"[App] System Extension activation failed, starting app state anyway...",
                      "[State] start() called"};
    EXPECT_EQ(logged(steps), steps);
    EXPECT_EQ(lines("App").back(),
              "System Extension activation failed, starting app state anyway...");
    EXPECT_THAT(system.networkExtension.configurations(), IsEmpty());
}

TEST_F(AppDelegateLaunch, startsTheStateOnceWhileTheExtensionWaitsForApproval) {
    system.systemExtensions.requireApproval();
    launch();
    advance(seconds(30));
    EXPECT_EQ(timedLines("State").at(0), "5.000 start() called");

    system.systemExtensions.approve();
    advance(seconds(30));
    EXPECT_EQ(count("App", "VPN configuration ready, starting app state..."), 1);
    EXPECT_EQ(count("start() called"), 1);
}

TEST_F(AppDelegateLaunch, startsTheStateAfterFiveSecondsWhenNoRequestReports) {
    system.systemExtensions.answersActivations = false;
    launch();
    advance(seconds(5) - Duration(1));
    EXPECT_FALSE(hasStartedAppState());
    advance(Duration(1));
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateLaunch, doesNotStartTheStateAgainAfterFiveSeconds) {
    launch();
    advance(seconds(60));
    EXPECT_EQ(count("start() called"), 1);
}

TEST_F(AppDelegateLaunch, doesNotSetTheOtherCallbacksOfTheExtension) {
    int reboots = 0, approvals = 0;
    launch();
    systemExtension->onWillCompleteAfterReboot = [&] { ++reboots; };
    systemExtension->onNeedsUserApproval = [&] { ++approvals; };
    run();
    systemExtension->onWillCompleteAfterReboot();
    systemExtension->onNeedsUserApproval();
    EXPECT_EQ(reboots, 1);
    EXPECT_EQ(approvals, 1);
}

// Events before the launch

TEST_F(AppDelegateLaunch, takesACallbackThatStartedTheApplication) {
    system.appleEventManager.sendGetURL("quoxelin://auth?token=abc");
    launch();
    EXPECT_EQ(count("Authenticate called with token"), 1);
    EXPECT_TRUE(panel().isVisible());
    run();
    EXPECT_TRUE(hasStartedAppState());
}

// Ending early

TEST_F(AppDelegateLaunch, retriesNothingAfterDestruction) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    run();
    delegate.reset();
    const auto before = log().size();
    advance(seconds(120));
    system.application.becomeActive();
    system.appleEventManager.sendGetURL("quoxelin://login?token=abc");
    system.panels.pressElsewhere();
    advance(seconds(120));
    EXPECT_EQ(log().size(), before);
    EXPECT_EQ(helper().registrations(), 1);
}

TEST_F(AppDelegateLaunch, ignoresAnswersOfTheHelperAfterDestruction) {
    system.xpc.setReplyDelay(seconds(3));
    launch();
    advance(seconds(1));
    delegate.reset();
    advance(seconds(60));
    EXPECT_FALSE(hasStartedAppState());
    EXPECT_EQ(system.systemExtensions.requests().size(), 0u);
}

TEST_F(AppDelegateLaunch, ignoresReportsOfTheExtensionAfterDestruction) {
    system.systemExtensions.answerDelay = seconds(3);
    launch();
    advance(seconds(1));
    delegate.reset();
    advance(seconds(60));
    EXPECT_TRUE(systemExtension->isApproved);
    EXPECT_FALSE(hasStartedAppState());
}

TEST_F(AppDelegateLaunch, ignoresReportsOfTheConfigurationAfterDestruction) {
    system.networkExtension.answerDelay = seconds(1);
    launch();
    run();
    EXPECT_EQ(count("App", "System Extension activated, ensuring VPN configuration..."), 1);
    delegate.reset();
    advance(seconds(60));
    EXPECT_FALSE(hasStartedAppState());
}

} // namespace quoxelin::testing
