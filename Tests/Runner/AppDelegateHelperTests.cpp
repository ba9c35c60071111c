#include "Tests/Runner/AppDelegateFixture.h"

#include <algorithm>
#include <fmt/format.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppDelegateHelper : public AppDelegateFixture {
  protected:
    std::size_t pings() const {
        const auto messages = system.xpc.messages();
        return static_cast<std::size_t>(
            std::count_if(messages.begin(), messages.end(), [](const auto& message) {
                return message.arguments == std::vector<std::string>{"--help"};
            }));
    }

    static constexpr const char* unreachable =
        "Failed to connect to background helper. Please restart the app or check Login Items.";
};

TEST_F(AppDelegateHelper, registersTheHelperOnEveryLaunch) {
    launch();
    makeDelegate()->applicationDidFinishLaunching();
    EXPECT_EQ(helper().registrations(), 2);
}

TEST_F(AppDelegateHelper, continuesWhenTheHelperCannotBeRegistered) {
    helper().failRegistration(Error{"SMAppServiceErrorDomain", 22, "Invalid signature."});
    launch();
    run();
    EXPECT_EQ(count("App", "Helper register attempt failed: Invalid signature."), 1);
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), std::nullopt);
}

TEST_F(AppDelegateHelper, tellsTheUserThatTheHelperNeedsApproval) {
    helper().requireApproval();
    launch();
    run();
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(),
              "Helper requires approval in System Settings → General → Login Items.");
    EXPECT_EQ(count("App", "Helper register attempt failed: Operation not permitted"), 1);
}

TEST_F(AppDelegateHelper, startsTheDaemonAtTheFourthPing) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    forget();
    advance(seconds(2));
    system.xpc.setHelper(SimulatedXPC::Helper::answering);
    advance(seconds(30));
    EXPECT_THAT(
        timedLines("App"),
        ElementsAre("0.000 Helper not reachable. Retrying in 0.50 seconds (attempt 1/10)...",
                    "0.500 Helper not reachable. Retrying in 0.75 seconds (attempt 2/10)...",
                    "1.250 Helper not reachable. Retrying in 1.12 seconds (attempt 3/10)...",
                    "2.375 Helper is ready and reachable. Starting daemon...",
                    "2.375 System Extension activated, ensuring VPN configuration...",
                    "2.375 VPN configuration ready, starting app state..."));
    EXPECT_EQ(pings(), 1u);
    EXPECT_EQ(helper().registrations(), 4);
}

TEST_F(AppDelegateHelper, givesUpAfterTenRetriesAndSaysSo) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    forget();
    advance(seconds(120));
    Lines expected;
    double instant = 0;
    double delay = 0.5;
    int attempt = 0;
    for (const char* shown :
         {"0.50", "0.75", "1.12", "1.69", "2.53", "3.80", "5.70", "8.54", "12.81", "19.22"}) {
        expected.push_back(
            fmt::format("{:.3f} Helper not reachable. Retrying in {} seconds (attempt {}/10)...",
                        instant, shown, ++attempt));
        instant += delay;
        delay *= 1.5;
    }
    expected.push_back(
        fmt::format("{:.3f} Failed to communicate with Helper after 10 attempts.", instant));
    EXPECT_EQ(timedLines("App"), expected);
    EXPECT_EQ(helper().registrations(), 11);
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), unreachable);
    EXPECT_FALSE(hasStartedAppState());
    EXPECT_FALSE(dispatch.nextInstant().has_value());
}

TEST_F(AppDelegateHelper, triesFromTheBeginningWhenTheUserComesBack) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    advance(seconds(120));
    forget();

    system.application.becomeActive();
    run();
    EXPECT_THAT(lines("App"),
                ElementsAre("App became active while helper needs approval, re-checking...",
                            "Helper not reachable. Retrying in 0.50 seconds (attempt 1/10)..."));
    EXPECT_EQ(helper().registrations(), 12);
    EXPECT_FALSE(appState->helperNeedsApproval);

    system.xpc.setHelper(SimulatedXPC::Helper::answering);
    advance(seconds(0.5));
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateHelper, checksAgainWhenTheUserHasApprovedTheHelper) {
    helper().requireApproval();
    launch();
    advance(seconds(200));
    EXPECT_TRUE(appState->helperNeedsApproval);
    helper().approve();
    system.application.becomeActive();
    run();
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), std::nullopt);
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateHelper, doesNotCheckAgainWhileAllIsWell) {
    launch();
    run();
    forget();
    system.application.becomeActive();
    run();
    EXPECT_THAT(lines("App"), IsEmpty());
    EXPECT_EQ(helper().registrations(), 1);
}

TEST_F(AppDelegateHelper, registersTheHelperBeforeEachAttemptToReachIt) {
    std::vector<int> registrations;
    whenLogged("[XPC] Failed to obtain HelperToolProtocol proxy",
               [&] { registrations.push_back(helper().registrations()); });
    whenLogged("[App] App became active",
               [&] { registrations.push_back(-helper().registrations()); });
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    advance(seconds(120));
    EXPECT_THAT(registrations, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    registrations.clear();
    system.application.becomeActive();
    EXPECT_THAT(registrations, ElementsAre(-11, 12));
}

TEST_F(AppDelegateHelper, waitsForAHelperThatNeverAnswers) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    launch();
    advance(seconds(600));
    EXPECT_FALSE(hasStartedAppState());
    EXPECT_EQ(lines("App").size(), 3u);
}

} // namespace quoxelin::testing
