#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

using Lines = std::vector<std::string>;

TEST(AppViewStateProfiles, adoptsTheDaemonsProfiles) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"b","profiles":[)"
                       R"({"id":"a","name":"A","is_current":false,"user_email":"a@example.com"},)"
                       R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com",)"
                       R"("node_id":3}]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.stateLines(), (Lines{"refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(app.requests(), Lines{"GET /localapi/v0/profiles"});
    EXPECT_EQ(app.appState->currentProfileId.get(), "b");
    ASSERT_EQ(app.appState->profiles->size(), 2u);
    EXPECT_EQ(app.appState->profiles.get()[1], (ProfileInfo{"b", "B", 3, "b@example.com", true}));
    EXPECT_EQ(app.appState->login->email, "b@example.com");
    EXPECT_EQ(app.appState->login->userName, "b@example.com");
}

TEST(AppViewStateProfiles, countsOneProfileInThePlural) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true}]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.stateLines().back(), "Got 1 profiles");
}

TEST(AppViewStateProfiles, keepsAUserNameThatIsKnown) {
    AppFixture app;
    app.startAndForget();
    app.bus(annsMap);
    app.answerProfiles(R"({"current_profile_id":"b","profiles":[)"
                       R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com"}]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.appState->login->email, "b@example.com");
    EXPECT_EQ(app.appState->login->userName, "Ann");
}

TEST(AppViewStateProfiles, takesTheFirstOfSeveralCurrentProfiles) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"b","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true},)"
                       R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com"}]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
}

TEST(AppViewStateProfiles, changesNoAccountForAListWithoutACurrentProfile) {
    AppFixture app;
    app.answerProfiles(
        R"({"current_profile_id":"a","profiles":[)"
        R"({"id":"a","name":"A","is_current":false,"user_email":"a@example.com"}]})");
    int publications = -1; // the value at subscription
    const auto subscription =
        app.appState->login.subscribe([&](const LoginViewState&) { ++publications; });
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.appState->currentProfileId.get(), "a");
    EXPECT_EQ(app.appState->profiles->size(), 1u);
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
    EXPECT_EQ(publications, 0);
}

TEST(AppViewStateProfiles, changesNoAccountForACurrentProfileWithAnEmptyEmail) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true,"user_email":""}]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(app.appState->login.get(), LoginViewState{});
}

TEST(AppViewStateProfiles, publishesEmailAndNameOnceEach) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true,"user_email":"a@example.com"}]})");
    std::vector<std::string> published;
    const auto subscription = app.appState->login.subscribe(
        [&](const LoginViewState& s) { published.push_back(s.email + "|" + s.userName); });
    app.appState->refreshProfiles();
    app.run();
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(published, (Lines{"|", "a@example.com|", "a@example.com|a@example.com"}));
}

TEST(AppViewStateProfiles, changesNothingWhenTheProfilesCannotBeLoaded) {
    AppFixture app;
    app.answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                       R"({"id":"a","name":"A","is_current":true,"user_email":"a@example.com"}]})");
    app.appState->refreshProfiles();
    app.run();
    app.forget();
    const auto login = app.appState->login.get();

    app.answerProfiles("no such thing", 500);
    app.appState->refreshProfiles();
    app.run();
    app.answerProfiles(R"({"profiles":[]})");
    app.appState->refreshProfiles();
    app.run();
    EXPECT_EQ(
        app.stateLines(),
        (Lines{"refreshProfiles called", "Failed to get profiles: HTTP error 500: no such thing",
               "refreshProfiles called",
               "Failed to get profiles: Failed to decode LocalAPI JSON response"}));
    EXPECT_EQ(app.appState->login.get(), login);
    EXPECT_EQ(app.appState->profiles->size(), 1u);
    EXPECT_EQ(app.appState->currentProfileId.get(), "a");
}

} // namespace
} // namespace quoxelin::testing
