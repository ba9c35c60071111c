#include "Tests/Runner/Stores/DaemonTexts.h"
#include "Tests/Support/AppFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

class AppViewStateProfiles : public AppTest {
  protected:
    /// Refreshes the list of accounts with this answer.
    void refresh(const std::string& body, int status = 200) {
        answerProfiles(body, status);
        appState->refreshProfiles();
        run();
    }
};

TEST_F(AppViewStateProfiles, adoptsTheDaemonsProfiles) {
    refresh(R"({"current_profile_id":"b","profiles":[)"
            R"({"id":"a","name":"A","is_current":false,"user_email":"a@example.com"},)"
            R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com",)"
            R"("node_id":3}]})");
    EXPECT_EQ(stateLines(), (Lines{"refreshProfiles called", "Got 2 profiles"}));
    EXPECT_EQ(requests(), Lines{"GET /localapi/v0/profiles"});
    EXPECT_EQ(appState->currentProfileId.get(), "b");
    ASSERT_EQ(appState->profiles->size(), 2u);
    EXPECT_EQ(appState->profiles.get()[1], (ProfileInfo{"b", "B", 3, "b@example.com", true}));
    EXPECT_EQ(appState->login->email, "b@example.com");
    EXPECT_EQ(appState->login->userName, "b@example.com");
}

TEST_F(AppViewStateProfiles, countsOneProfileInThePlural) {
    refresh(R"({"current_profile_id":"a","profiles":[)"
            R"({"id":"a","name":"A","is_current":true}]})");
    EXPECT_EQ(stateLines().back(), "Got 1 profiles");
}

TEST_F(AppViewStateProfiles, keepsAUserNameThatIsKnown) {
    startAndForget();
    bus(annsMap);
    refresh(R"({"current_profile_id":"b","profiles":[)"
            R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com"}]})");
    EXPECT_EQ(appState->login->email, "b@example.com");
    EXPECT_EQ(appState->login->userName, "Ann");
}

TEST_F(AppViewStateProfiles, takesTheFirstOfSeveralCurrentProfiles) {
    refresh(R"({"current_profile_id":"b","profiles":[)"
            R"({"id":"a","name":"A","is_current":true},)"
            R"({"id":"b","name":"B","is_current":true,"user_email":"b@example.com"}]})");
    EXPECT_EQ(appState->login.get(), LoginViewState{});
}

TEST_F(AppViewStateProfiles, changesNoAccountForAListWithoutACurrentProfile) {
    answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                   R"({"id":"a","name":"A","is_current":false,"user_email":"a@example.com"}]})");
    int publications = -1; // the value at subscription
    const auto subscription =
        appState->login.subscribe([&](const LoginViewState&) { ++publications; });
    appState->refreshProfiles();
    run();
    EXPECT_EQ(appState->currentProfileId.get(), "a");
    EXPECT_EQ(appState->profiles->size(), 1u);
    EXPECT_EQ(appState->login.get(), LoginViewState{});
    EXPECT_EQ(publications, 0);
}

TEST_F(AppViewStateProfiles, changesNoAccountForACurrentProfileWithAnEmptyEmail) {
    startAndForget();
    bus(annsMap);
    const auto login = appState->login.get();
    refresh(R"({"current_profile_id":"a","profiles":[)"
            R"({"id":"a","name":"A","is_current":true,"user_email":""}]})");
    EXPECT_EQ(appState->currentProfileId.get(), "a");
    EXPECT_EQ(appState->login.get(), login);
}

TEST_F(AppViewStateProfiles, publishesEmailAndNameOnceEach) {
    answerProfiles(R"({"current_profile_id":"a","profiles":[)"
                   R"({"id":"a","name":"A","is_current":true,"user_email":"a@example.com"}]})");
    std::vector<std::string> published;
    const auto subscription = appState->login.subscribe(
        [&](const LoginViewState& s) { published.push_back(s.email + "|" + s.userName); });
    appState->refreshProfiles();
    run();
    appState->refreshProfiles();
    run();
    EXPECT_EQ(published, (Lines{"|", "a@example.com|", "a@example.com|a@example.com"}));
}

TEST_F(AppViewStateProfiles, changesNothingWhenTheProfilesCannotBeLoaded) {
    refresh(R"({"current_profile_id":"a","profiles":[)"
            R"({"id":"a","name":"A","is_current":true,"user_email":"a@example.com"}]})");
    forget();
    const auto login = appState->login.get();

    refresh("no such thing", 500);
    refresh(R"({"profiles":[]})");
    EXPECT_EQ(
        stateLines(),
        (Lines{"refreshProfiles called", "Failed to get profiles: HTTP error 500: no such thing",
               "refreshProfiles called",
               "Failed to get profiles: Failed to decode LocalAPI JSON response"}));
    EXPECT_EQ(appState->login.get(), login);
    EXPECT_EQ(appState->profiles->size(), 1u);
    EXPECT_EQ(appState->currentProfileId.get(), "a");
}

} // namespace
} // namespace quoxelin::testing
