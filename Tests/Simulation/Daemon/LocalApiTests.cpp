#include "Simulation/Daemon/LocalApi.h"
#include "Tests/Simulation/Daemon/ModelFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

class LocalApi : public ::testing::Test {
  protected:
    ApiReply ask(std::string_view method, std::string_view target, std::string_view body = "") {
        return answer(world->model, method, target, body);
    }

    std::unique_ptr<ModelWorld> world = ModelWorld::loggedIn();
};

TEST_F(LocalApi, answersStatusAndProfiles) {
    EXPECT_EQ(Tree::parse(ask("GET", "/localapi/v0/status").body), Tree(world->model.status()));
    EXPECT_EQ(Tree::parse(ask("GET", "/localapi/v0/profiles").body), Tree(world->model.profiles()));
}

TEST_F(LocalApi, switchesToThePercentEncodedProfile) {
    Account odd = newAccount(0);
    odd.id = "a b/ü";
    world->model.setAccounts({odd, newAccount(1)}, "");
    EXPECT_EQ(ask("POST", "/localapi/v0/profiles/switch?id=a%20b/%C3%BC").status, 200);
    EXPECT_EQ(world->model.currentId(), "a b/ü");
}

TEST_F(LocalApi, saysWhenThereIsNoSuchProfile) {
    const ApiReply reply = ask("POST", "/localapi/v0/profiles/switch?id=nobody");
    EXPECT_EQ(reply.status, 404);
    EXPECT_EQ(reply.body, "no such profile");
    EXPECT_EQ(world->model.currentId(), "7c41");
}

TEST_F(LocalApi, refusesASwitchWithoutAReadableProfileId) {
    for (const char* target :
         {"/localapi/v0/profiles/switch", "/localapi/v0/profiles/switch?id=",
          "/localapi/v0/profiles/switch?other=7c41", "/localapi/v0/profiles/switch?id=%4"})
        EXPECT_EQ(ask("POST", target).status, 400) << target;
}

TEST_F(LocalApi, switchesToTheEmptyProfileAndBeginsALogin) {
    EXPECT_EQ(ask("POST", "/localapi/v0/profiles/switch-to-empty").status, 200);
    const Tree login = Tree::parse(ask("POST", "/localapi/v0/login").body);
    EXPECT_EQ(login.at("interactive_login_url").text(), *world->model.pendingLoginUrl());
}

TEST_F(LocalApi, setsWantRunning) {
    const ApiReply reply =
        ask("PATCH", "/localapi/v0/hatago", R"({"WantRunning":false,"WantRunningSet":true})");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(Tree::parse(reply.body).at("WantRunning"), false);
    EXPECT_EQ(world->model.state(), BackendState::stopped);
}

TEST_F(LocalApi, ignoresAPreferenceThatIsNotMarkedAsSet) {
    for (const char* body :
         {R"({"WantRunning":false})", R"({"WantRunning":false,"WantRunningSet":false})",
          R"({"WantRunningSet":true})", "{}"}) {
        EXPECT_EQ(ask("PATCH", "/localapi/v0/hatago", body).status, 200) << body;
        EXPECT_EQ(world->model.state(), BackendState::running) << body;
    }
}

TEST_F(LocalApi, refusesInvalidPreferences) {
    for (const char* body : {"", "[]", "{\"WantRunning\":", R"({"WantRunning":1})",
                             R"({"WantRunning":false,"WantRunningSet":"true"})"}) {
        EXPECT_EQ(ask("PATCH", "/localapi/v0/hatago", body).status, 400) << body;
        EXPECT_EQ(world->model.state(), BackendState::running) << body;
    }
}

TEST_F(LocalApi, logsOut) {
    EXPECT_EQ(ask("POST", "/localapi/v0/logout").status, 200);
    EXPECT_EQ(world->model.state(), BackendState::needsLogin);
}

TEST_F(LocalApi, refusesAWrongMethodWithoutEffect) {
    EXPECT_EQ(ask("GET", "/localapi/v0/logout").status, 405);
    EXPECT_EQ(ask("POST", "/localapi/v0/status").status, 405);
    EXPECT_EQ(ask("POST", observePath).status, 405);
    EXPECT_EQ(world->model.state(), BackendState::running);
}

TEST_F(LocalApi, acceptsNoOtherPath) {
    EXPECT_EQ(ask("GET", "/localapi/v0/status/").status, 404);
    EXPECT_EQ(ask("GET", "").status, 404);
}

} // namespace
} // namespace quoxelin::sim
