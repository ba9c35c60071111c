#include "Tests/Runner/AppDelegateFixture.h"

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
    const auto second = makeDelegate();
    second->applicationDidFinishLaunching();
    EXPECT_EQ(helper().registrations(), 2);
}

TEST_F(AppDelegateHelper, continuesWhenTheHelperCannotBeRegistered) {
    helper().failRegistration(Error{"SMAppServiceErrorDomain", 22, "Invalid signature."});
    launch();
    dispatch.runUntilIdle();
    EXPECT_EQ(count("App", "Helper register attempt failed: Invalid signature."), 1);
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), std::nullopt);
}

TEST_F(AppDelegateHelper, tellsTheUserThatTheHelperNeedsApproval) {
    helper().requireApproval();
    launch();
    dispatch.runUntilIdle();
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(),
              "Helper requires approval in System Settings → General → Login Items.");
    EXPECT_EQ(count("App", "Helper register attempt failed: Operation not permitted"), 1);
}

TEST_F(AppDelegateHelper, startsTheDaemonAtTheFourthPing) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    dispatch.main().asyncAfter(seconds(2),
                               [&] { system.xpc.setHelper(SimulatedXPC::Helper::answering); });
    const auto lines = watch("App", seconds(30));
    const std::vector<std::pair<Duration, std::string>> expected{
        {seconds(0), "Helper not reachable. Retrying in 0.50 seconds (attempt 1/10)..."},
        {seconds(0.5), "Helper not reachable. Retrying in 0.75 seconds (attempt 2/10)..."},
        {seconds(1.25), "Helper not reachable. Retrying in 1.12 seconds (attempt 3/10)..."},
        {seconds(2.375), "Helper is ready and reachable. Starting daemon..."},
        {seconds(2.375), "System Extension activated, ensuring VPN configuration..."},
        {seconds(2.375), "VPN configuration ready, starting app state..."},
    };
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(pings(), 1u);
    EXPECT_EQ(helper().registrations(), 4);
}

TEST_F(AppDelegateHelper, givesUpAfterTenRetriesAndSaysSo) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    const auto lines = watch("App", seconds(120));

    const std::vector<const char*> delays{"0.50", "0.75", "1.12", "1.69",  "2.53",
                                          "3.80", "5.70", "8.54", "12.81", "19.22"};
    ASSERT_EQ(lines.size(), delays.size() + 1);
    Duration instant{0};
    double delay = 0.5;
    for (std::size_t i = 0; i < delays.size(); ++i) {
        EXPECT_EQ(lines[i].first, instant);
        EXPECT_EQ(lines[i].second,
                  fmt::format("Helper not reachable. Retrying in {} seconds (attempt {}/10)...",
                              delays[i], i + 1));
        instant += seconds(delay);
        delay *= 1.5;
    }
    EXPECT_EQ(lines.back().first, instant);
    EXPECT_EQ(lines.back().second, "Failed to communicate with Helper after 10 attempts.");
    EXPECT_EQ(helper().registrations(), 11);
    EXPECT_TRUE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), unreachable);
    EXPECT_FALSE(hasStartedAppState());
    EXPECT_FALSE(dispatch.nextInstant().has_value());
}

TEST_F(AppDelegateHelper, triesFromTheBeginningWhenTheUserComesBack) {
    system.xpc.setHelper(SimulatedXPC::Helper::incompatible);
    launch();
    dispatch.advance(seconds(120));
    system.systemLog.clear();

    system.application.becomeActive();
    dispatch.runUntilIdle();
    EXPECT_THAT(log("App"),
                ElementsAre("App became active while helper needs approval, re-checking...",
                            "Helper not reachable. Retrying in 0.50 seconds (attempt 1/10)..."));
    EXPECT_EQ(helper().registrations(), 12);
    EXPECT_FALSE(appState->helperNeedsApproval);

    system.xpc.setHelper(SimulatedXPC::Helper::answering);
    dispatch.advance(seconds(0.5));
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateHelper, checksAgainWhenTheUserHasApprovedTheHelper) {
    helper().requireApproval();
    launch();
    dispatch.advance(seconds(200));
    EXPECT_TRUE(appState->helperNeedsApproval);
    helper().approve();
    system.application.becomeActive();
    dispatch.runUntilIdle();
    EXPECT_FALSE(appState->helperNeedsApproval);
    EXPECT_EQ(appState->helperRegistrationError.get(), std::nullopt);
    EXPECT_TRUE(hasStartedAppState());
}

TEST_F(AppDelegateHelper, doesNotCheckAgainWhileAllIsWell) {
    launch();
    dispatch.runUntilIdle();
    system.systemLog.clear();
    system.application.becomeActive();
    dispatch.runUntilIdle();
    EXPECT_THAT(log("App"), IsEmpty());
    EXPECT_EQ(helper().registrations(), 1);
}

TEST_F(AppDelegateHelper, waitsForAHelperThatNeverAnswers) {
    system.xpc.setHelper(SimulatedXPC::Helper::silent);
    launch();
    dispatch.advance(seconds(600));
    EXPECT_FALSE(hasStartedAppState());
    EXPECT_EQ(log("App").size(), 3u);
}

} // namespace quoxelin::testing
