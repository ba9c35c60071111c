#include "Simulation/System/SimulatedSystemExtensions.h"
#include "Tests/Support/VirtualDispatch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// Records the delegate's calls.
class Listener final : public OSSystemExtensionRequestDelegate {
  public:
    explicit Listener(const VirtualDispatch& dispatch) : dispatch(dispatch) {}

    OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest&,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) override {
        note(fmt::format("replace {} by {}?", existing.bundleShortVersion,
                         extension.bundleShortVersion));
        return action;
    }
    void requestNeedsUserApproval(const OSSystemExtensionRequest&) override { note("approval"); }
    void didFinishWithResult(const OSSystemExtensionRequest&, int result) override {
        note(fmt::format("result {}", result));
    }
    void didFailWithError(const OSSystemExtensionRequest&, const Error& error) override {
        note(fmt::format("error {}", error.code));
    }
    void foundProperties(const OSSystemExtensionRequest&,
                         const std::vector<OSSystemExtensionProperties>& properties) override {
        note(fmt::format("found {}", properties.size()));
    }

    std::vector<std::string> heard;
    OSSystemExtensionReplacementAction action = OSSystemExtensionReplacementAction::replace;

  private:
    void note(const std::string& text) {
        heard.push_back(
            fmt::format("{} {}", std::chrono::duration<double>(dispatch.now()).count(), text));
    }
    const VirtualDispatch& dispatch;
};

} // namespace

class SimulatedSystemExtensionsTest : public ::testing::Test {
  public:
    using Lines = std::vector<std::string>;
    using Kind = OSSystemExtensionRequest::Kind;

    std::shared_ptr<Listener> submit(Kind kind, const std::string& identifier = "ours") {
        auto listener = std::make_shared<Listener>(dispatch);
        extensions.submitRequest({kind, identifier, listener});
        return listener;
    }

    VirtualDispatch dispatch;
    quoxelin::SimulatedSystemExtensions extensions{dispatch};
};

using SimulatedSystemExtensions = SimulatedSystemExtensionsTest;

TEST_F(SimulatedSystemExtensions, asksBeforeItReplacesAnotherVersion) {
    submit(Kind::activation);
    dispatch.runUntilIdle();
    const auto again = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(again->heard, (Lines{"0 result 0"}));
    extensions.bundledVersion = "1.1";
    const auto unwilling = submit(Kind::activation);
    unwilling->action = OSSystemExtensionReplacementAction::cancel;
    dispatch.runUntilIdle();
    EXPECT_EQ(unwilling->heard, (Lines{"0 replace 1.0 by 1.1?", "0 error 11"}));
    EXPECT_EQ(extensions.extensions.at(0).bundleShortVersion, "1.0");
    const auto willing = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(willing->heard, (Lines{"0 replace 1.0 by 1.1?", "0 result 0"}));
    ASSERT_EQ(extensions.extensions.size(), 1u);
    EXPECT_EQ(extensions.extensions[0].bundleShortVersion, "1.1");
}

TEST_F(SimulatedSystemExtensions, waitsForTheUsersApproval) {
    extensions.requireApproval();
    const auto listener = submit(Kind::activation);
    dispatch.advance(seconds(10));
    EXPECT_EQ(listener->heard, (Lines{"0 approval"}));
    ASSERT_EQ(extensions.extensions.size(), 1u);
    EXPECT_FALSE(extensions.extensions[0].isEnabled);
    EXPECT_TRUE(extensions.extensions[0].isAwaitingUserApproval);
    extensions.approve();
    dispatch.runUntilIdle();
    EXPECT_EQ(listener->heard, (Lines{"0 approval", "10 result 0"}));
    ASSERT_EQ(extensions.extensions.size(), 1u);
    EXPECT_TRUE(extensions.extensions[0].isEnabled);
    EXPECT_FALSE(extensions.extensions[0].isAwaitingUserApproval);
    const auto next = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(next->heard, (Lines{"10 result 0"}));
}

TEST_F(SimulatedSystemExtensions, supersedesAnOlderRequestForTheSameExtension) {
    extensions.requireApproval();
    const auto older = submit(Kind::activation);
    const auto other = submit(Kind::activation, "other");
    dispatch.runUntilIdle();
    const auto newer = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(older->heard, (Lines{"0 approval", "0 error 12"}));
    EXPECT_EQ(other->heard, (Lines{"0 approval"}));
    EXPECT_EQ(newer->heard, (Lines{"0 approval"}));
    EXPECT_EQ(extensions.outstandingActivations(), 2u);
}

TEST_F(SimulatedSystemExtensions, reportsAnyResult) {
    extensions.result = 1;
    const auto later = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(later->heard, (Lines{"0 result 1"}));
    EXPECT_TRUE(extensions.extensions.empty());
    extensions.result = -3;
    const auto odd = submit(Kind::activation);
    dispatch.runUntilIdle();
    EXPECT_EQ(odd->heard, (Lines{"0 result -3"}));
}

TEST_F(SimulatedSystemExtensions, answersWithAllVersionsOfTheExtension) {
    extensions.extensions = {
        {"ours", "1", true, false}, {"other", "1", true, false}, {"ours", "2", false, true}};
    const auto found = submit(Kind::properties);
    dispatch.runUntilIdle();
    EXPECT_EQ(found->heard, (Lines{"0 found 2"}));
    extensions.propertiesError = Error{"domain", 1, "unknown"};
    const auto failed = submit(Kind::properties);
    dispatch.runUntilIdle();
    EXPECT_EQ(failed->heard, (Lines{"0 error 1"}));
}

TEST_F(SimulatedSystemExtensions, dropsTheAnswerToADestroyedDelegate) {
    extensions.bundledVersion = "2";
    extensions.extensions = {{"ours", "1", true, false}};
    submit(Kind::activation);
    submit(Kind::properties);
    dispatch.runUntilIdle();
    // The delegate was gone, so the version was not replaced.
    EXPECT_EQ(extensions.extensions.at(0).bundleShortVersion, "1");
    EXPECT_EQ(extensions.outstandingActivations(), 0u);
}

} // namespace quoxelin::testing
