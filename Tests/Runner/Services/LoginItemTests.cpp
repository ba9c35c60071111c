#include "Runner/Services/LoginItem.h"

#include "Simulation/System/SimulatedFoundation.h"
#include "Simulation/System/SimulatedServiceManagement.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class LoginItemTest : public ::testing::Test {
  protected:
    LoginItem::Outcome launch(const std::optional<std::string>& build) {
        std::optional<LoginItem::Outcome> told;
        LoginItem::registerIfNeeded(defaults, build, *services.mainApp(),
                                    [&](LoginItem::Outcome outcome) { told = std::move(outcome); });
        return told.value();
    }

    void unregister() {
        const auto mainApp = services.mainApp();
        LoginItem::unregister(defaults, *mainApp);
    }

    SimulatedServiceManagement services;
    SimulatedServiceManagement::Registration& item = services.mainAppRegistration();
    SimulatedUserDefaults defaults;
    const Error refusal = {"SMAppServiceErrorDomain", 3, "Codesigning failure"};
};

TEST_F(LoginItemTest, registersOncePerBuild) {
    for (const char* build : {"7", "8", "7"}) {
        EXPECT_EQ(launch(build), LoginItem::Registration::registered);
        EXPECT_EQ(launch(build), LoginItem::Registration::alreadyRegistered);
        EXPECT_EQ(defaults.string("loginItemRegisteredBuild"), build);
    }
    EXPECT_EQ(item.status(), 1);
    EXPECT_EQ(item.registrations(), 3);
}

TEST_F(LoginItemTest, triesAgainAfterAFailure) {
    EXPECT_EQ(launch("6"), LoginItem::Registration::registered);
    item.failRegistration(refusal);
    const auto outcome = launch("7");
    ASSERT_FALSE(outcome.has_value());
    EXPECT_EQ(outcome.error(), refusal);
    EXPECT_EQ(defaults.string("loginItemRegisteredBuild"), "6");
    item.failRegistration(std::nullopt);
    EXPECT_EQ(launch("7"), LoginItem::Registration::registered);
    EXPECT_EQ(item.registrations(), 3);
}

TEST_F(LoginItemTest, storesNothingAfterAFirstFailure) {
    item.failRegistration(refusal);
    EXPECT_FALSE(launch("7").has_value());
    EXPECT_FALSE(defaults.contains("loginItemRegisteredBuild"));
}

TEST_F(LoginItemTest, registersAtEveryLaunchWithoutABuild) {
    EXPECT_EQ(launch(std::nullopt), LoginItem::Registration::registered);
    EXPECT_EQ(launch(std::nullopt), LoginItem::Registration::registered);
    EXPECT_FALSE(defaults.contains("loginItemRegisteredBuild"));
    defaults.set("loginItemRegisteredBuild", "");
    EXPECT_EQ(launch(std::nullopt), LoginItem::Registration::registered);
    EXPECT_EQ(item.registrations(), 3);
}

TEST_F(LoginItemTest, remembersAnEmptyBuildLikeAnyOther) {
    EXPECT_EQ(launch(""), LoginItem::Registration::registered);
    EXPECT_EQ(launch(""), LoginItem::Registration::alreadyRegistered);
}

TEST_F(LoginItemTest, ignoresARememberedValueThatIsNotAString) {
    defaults.setBool("loginItemRegisteredBuild", true);
    EXPECT_EQ(launch("1"), LoginItem::Registration::registered);
    EXPECT_EQ(defaults.string("loginItemRegisteredBuild"), "1");
}

TEST_F(LoginItemTest, forgetsBothKeysInOrderWhenUnregistered) {
    EXPECT_EQ(launch("7"), LoginItem::Registration::registered);
    defaults.setBool("loginItemRegistered", true);
    unregister();
    EXPECT_EQ(item.status(), 0);
    EXPECT_EQ(defaults.removals(),
              (std::vector<std::string>{"loginItemRegisteredBuild", "loginItemRegistered"}));
    EXPECT_FALSE(defaults.contains("loginItemRegisteredBuild"));
    EXPECT_FALSE(defaults.contains("loginItemRegistered"));
    EXPECT_EQ(launch("7"), LoginItem::Registration::registered);
}

TEST_F(LoginItemTest, forgetsBothKeysEvenIfThePlatformRefuses) {
    EXPECT_EQ(launch("7"), LoginItem::Registration::registered);
    defaults.setBool("loginItemRegistered", true);
    item.failUnregistration(refusal);
    unregister();
    EXPECT_EQ(item.unregistrations(), 1);
    EXPECT_FALSE(defaults.contains("loginItemRegisteredBuild"));
    EXPECT_FALSE(defaults.contains("loginItemRegistered"));
}

} // namespace quoxelin::testing
