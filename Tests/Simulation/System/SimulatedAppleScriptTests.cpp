#include "Simulation/System/SimulatedAppleScript.h"

#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SimulatedAppleScriptTest : public ::testing::Test {
  protected:
    void execute() {
        dispatch.global(QualityOfService::userInitiated).async([this] {
            outcome = scripts.initWithSource("beep")->executeAndReturnError();
            endedAt = dispatch.now();
        });
    }

    VirtualDispatch dispatch;
    SimulatedAppleScript scripts{dispatch};
    std::optional<std::string> outcome = "not executed";
    Duration endedAt{-1};
};

TEST_F(SimulatedAppleScriptTest, keepsTheTextAndEndsAtOnce) {
    execute();
    dispatch.runUntilIdle();
    EXPECT_EQ(outcome, std::nullopt);
    EXPECT_EQ(scripts.executedSources(), std::vector<std::string>{"beep"});
}

TEST_F(SimulatedAppleScriptTest, blocksItsThreadUntilThePasswordIsGiven) {
    scripts.waitForPassword();
    EXPECT_FALSE(scripts.isAskingForPassword());
    execute();
    dispatch.advance(seconds(60));
    EXPECT_TRUE(scripts.isAskingForPassword());
    EXPECT_EQ(outcome, "not executed");
    scripts.givePassword();
    dispatch.advance(seconds(0.1));
    EXPECT_EQ(outcome, std::nullopt);
    EXPECT_EQ(endedAt, seconds(60.05));
    EXPECT_FALSE(scripts.isAskingForPassword());
}

TEST_F(SimulatedAppleScriptTest, endsWithTheSystemsErrorWhenThePersonCancels) {
    scripts.waitForPassword();
    execute();
    dispatch.advance(seconds(1));
    scripts.cancelPassword();
    dispatch.advance(seconds(0.1));
    ASSERT_TRUE(outcome.has_value());
    EXPECT_NE(outcome->find("-128"), std::string::npos);
}

TEST_F(SimulatedAppleScriptTest, endsAsItIsTold) {
    scripts.setOutcome("the disk is full");
    execute();
    dispatch.runUntilIdle();
    EXPECT_EQ(outcome, "the disk is full");
}

TEST_F(SimulatedAppleScriptTest, takesNoTextWhereItRefuses) {
    scripts.refuseSources(true);
    EXPECT_EQ(scripts.initWithSource("beep"), nullptr);
    scripts.refuseSources(false);
    EXPECT_NE(scripts.initWithSource("beep"), nullptr);
}

TEST_F(SimulatedAppleScriptTest, asksNobodyAnyMoreWhenItsThreadIsUnwound) {
    scripts.waitForPassword();
    execute();
    dispatch.advance(seconds(1));
    dispatch.endAllWork();
    EXPECT_FALSE(scripts.isAskingForPassword());
}

} // namespace quoxelin::testing
