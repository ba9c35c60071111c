#include "Tests/Support/AppFixture.h"

#include <functional>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

struct Operation {
    std::function<void(AppViewState&)> call;
    /// The first line that the call logs or requests.
    std::string sign;
};

const std::vector<Operation> operations = {
    {[](AppViewState& store) { store.start(); }, "start() called"},
    {[](AppViewState& store) { store.connect(); }, "connect"},
    {[](AppViewState& store) { store.disconnect(); }, "disconnect"},
    {[](AppViewState& store) { store.logout(); }, "logout called"},
    {[](AppViewState& store) { store.refreshProfiles(); }, "refreshProfiles called"},
    {[](AppViewState& store) { store.switchProfile("b"); }, "switchProfile to b"},
    {[](AppViewState& store) { store.switchProfileAndLogin("b"); }, "switchProfileAndLogin to b"},
    {[](AppViewState& store) { store.addNewAccount(); }, "addNewAccount called"},
    {[](AppViewState& store) { store.uninstall(); }, "uninstall called"},
};

TEST(AppViewStateThread, repeatsCallsFromOtherThreadsOnTheMainQueue) {
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.sign);
        AppFixture app;
        app.run();
        app.forget();
        app.dispatch.global(QualityOfService::standard).async([&] {
            operation.call(*app.appState);
            EXPECT_EQ(app.stateLines(), Lines{});
        });
        app.run();
        const auto lines = app.stateLines();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(), operation.sign);
        EXPECT_EQ(app.count(operation.sign), 1);
    }
}

TEST(AppViewStateThread, pollsOnTheMainQueueWhenCalledFromAnotherThread) {
    AppFixture app;
    app.run();
    app.dispatch.global(QualityOfService::standard).async([&] {
        app.appState->pollForLoginCompletion();
        EXPECT_EQ(app.dispatch.nextInstant(), std::nullopt);
    });
    app.advance(seconds(1));
    EXPECT_EQ(app.requests(), Lines{"GET /localapi/v0/status"});
}

TEST(AppViewStateThread, dropsCallsFromOtherThreadsAfterDestruction) {
    AppFixture app;
    app.run();
    app.dispatch.global(QualityOfService::standard).async([&] {
        app.dispatch.main().async([&] { app.appState.reset(); });
        for (const auto& operation : operations)
            operation.call(*app.appState);
        app.appState->pollForLoginCompletion();
    });
    app.forget();
    app.advance(seconds(10));
    EXPECT_EQ(app.stateLines(), Lines{});
    EXPECT_EQ(app.requests(), Lines{});
}

} // namespace
} // namespace quoxelin::testing
