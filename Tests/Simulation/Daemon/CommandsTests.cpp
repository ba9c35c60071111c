#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Tests/Simulation/Daemon/ModelFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

class DaemonCommands : public ::testing::Test {
  protected:
    DaemonCommands() {
        addStateCommands(steering, world->model);
        addAnswerCommands(steering, script);
    }

    /// Performs a command and returns its only answer.
    Tree obey(std::string_view line) {
        answers.clear();
        steering.take(line);
        EXPECT_EQ(answers.size(), 1u) << line;
        return Tree::parse(answers.empty() ? "{}" : answers.front());
    }

    /// The error in the answer; empty on success.
    std::string errorOf(std::string_view line) {
        const auto answer = obey(line);
        return answer.at("ok") == true ? "" : answer.at("error").text();
    }

    std::unique_ptr<ModelWorld> world = ModelWorld::loggedIn();
    ScriptedAnswers script;
    std::vector<std::string> answers;
    Steering steering{[](Duration, const Work&) {},
                      [this](const std::string& line) { answers.push_back(line); }};
};

TEST_F(DaemonCommands, jailsAndUnjails) {
    EXPECT_EQ(errorOf(R"({"do":"jail","reason":"no disk encryption"})"), "");
    EXPECT_EQ(Tree(world->model.status()).at("jailed"), true);
    EXPECT_EQ(errorOf(R"({"do":"unjail"})"), "");
    EXPECT_EQ(Tree(world->model.status()).at("jailed"), false);
}

TEST_F(DaemonCommands, putsTheDaemonInAState) {
    EXPECT_EQ(errorOf(R"({"do":"state","state":"NoState"})"), "");
    EXPECT_EQ(world->model.state(), BackendState::noState);
    EXPECT_EQ(errorOf(R"({"do":"state","state":"running"})"),
              R"("state" must be one of NoState, NeedsLogin, Stopped, Starting, Running)");
    EXPECT_NE(errorOf(R"({"do":"state"})"), "");
    EXPECT_EQ(world->model.state(), BackendState::noState);
}

TEST_F(DaemonCommands, logsOutAndInAgain) {
    EXPECT_EQ(errorOf(R"({"do":"login"})"), "logged in already");
    world->model.logOut();
    EXPECT_TRUE(obey(R"({"do":"login-url"})").at("url").isNull());
    world->model.beginLogin();
    EXPECT_EQ(obey(R"({"do":"login-url"})").at("url").text(), *world->model.pendingLoginUrl());
    EXPECT_EQ(obey(R"({"do":"login"})").at("callback").text().find("quoxelin:"), 0u);
    EXPECT_EQ(world->model.state(), BackendState::starting);
}

TEST_F(DaemonCommands, scriptsEveryKindOfReply) {
    const auto scripted = [&](std::string_view line) {
        script.clear("", "");
        EXPECT_EQ(errorOf(line), "");
        return script.take("GET", "/p").value_or(ScriptedReply());
    };
    const auto canned = std::get<CannedReply>(scripted(
        R"({"do":"answer","method":"GET","path":"/p","status":404,"text":"no","repeat":3})"));
    EXPECT_EQ(canned.status, 404);
    EXPECT_EQ(canned.body, "nonono");
    const auto document = scripted(R"({"do":"answer","path":"/p","json":{"b":1,"a":null}})");
    EXPECT_EQ(std::get<CannedReply>(document).body, R"({"b":1,"a":null})");
    const auto raw = scripted(R"({"do":"answer-raw","bytes":"\u00ff\u0000"})");
    EXPECT_EQ(std::get<RawReply>(raw).bytes, std::string("\xFF\0", 2));
    EXPECT_EQ(std::get<TruncatedReply>(scripted(R"({"do":"truncate","bytes":7})")).bytes, 7u);
    EXPECT_TRUE(
        std::get<TruncatedReply>(scripted(R"({"do":"truncate","body-bytes":0})")).countsBody);
    EXPECT_TRUE(std::holds_alternative<NoReply>(scripted(R"({"do":"hang"})")));
    EXPECT_TRUE(std::holds_alternative<DroppedConnection>(scripted(R"({"do":"drop"})")));
    script.clear("", "");
    EXPECT_EQ(errorOf(R"({"do":"drop","path":"/q","times":1})"), "");
    EXPECT_TRUE(script.take("GET", "/q"));
    EXPECT_FALSE(script.take("GET", "/q"));
}

TEST_F(DaemonCommands, rejectsInvalidScripts) {
    for (const char* line : {
             R"({"do":"answer","status":99})",
             R"({"do":"answer","status":1000})",
             R"({"do":"answer","json":{},"text":"both"})",
             R"({"do":"answer","text":"a","bytes":"b"})",
             R"({"do":"answer","bytes":"\u0100"})",
             R"({"do":"answer","times":0})",
             R"({"do":"peers"})",
             R"({"do":"peers","count":1000001})",
             R"({"do":"answer-raw"})",
             R"({"do":"truncate"})",
             R"({"do":"truncate","bytes":1,"body-bytes":1})",
         })
        EXPECT_NE(errorOf(line), "") << line;
    EXPECT_FALSE(script.take("GET", "/p"));
}

TEST_F(DaemonCommands, clearsTheScript) {
    obey(R"({"do":"hang","method":"GET","path":"/p"})");
    obey(R"({"do":"drop"})");
    EXPECT_EQ(obey(R"({"do":"clear","method":"GET","path":"/p"})").at("cleared"), 1);
    EXPECT_EQ(obey(R"({"do":"clear"})").at("cleared"), 1);
}

} // namespace
} // namespace quoxelin::sim
