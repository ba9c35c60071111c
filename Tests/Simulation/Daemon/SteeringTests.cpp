#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Simulation/Daemon/Steering.h"
#include "Tests/Simulation/Daemon/ModelFixture.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

namespace json = boost::json;

class SteeringLines : public ::testing::Test {
  protected:
    SteeringLines() {
        addStateCommands(steering.table(), world->model);
        addAnswerCommands(steering.table(), script);
    }

    /// Obeys a line that is owed one answer, and gives that.
    json::object obey(std::string_view line) {
        answers.clear();
        steering.obey(line);
        EXPECT_EQ(answers.size(), 1u) << line;
        return json::parse(answers.empty() ? "{}" : answers.front()).as_object();
    }

    /// The error that a line is answered with; empty when there is none.
    std::string errorOf(std::string_view line) {
        const json::object answer = obey(line);
        const bool good = answer.at("ok").as_bool();
        return good ? "" : std::string(answer.at("error").as_string());
    }

    std::unique_ptr<ModelWorld> world = ModelWorld::loggedIn();
    ScriptedAnswers script;
    std::vector<std::string> answers;
    Steering steering{[this](std::string line) { answers.push_back(std::move(line)); }};
};

TEST_F(SteeringLines, answersWithTheCommandsNameAndId) {
    EXPECT_EQ(json::serialize(obey(R"({"id":[1,"x"],"do":"unjail"})")),
              R"({"ok":true,"do":"unjail","id":[1,"x"]})");
}

TEST_F(SteeringLines, isSilentAboutBlankLines) {
    steering.obey("");
    steering.obey(" \t\r");
    EXPECT_TRUE(answers.empty());
}

TEST_F(SteeringLines, saysWhatIsWrongWithALine) {
    EXPECT_EQ(errorOf("hello").find("not JSON: "), 0u);
    EXPECT_EQ(errorOf("[]"), "not a JSON object");
    EXPECT_EQ(errorOf("{}"), "\"do\" is missing");
    EXPECT_EQ(errorOf(R"({"do":7})"), "\"do\" must be a string");
    EXPECT_EQ(errorOf(R"({"do":"dance"})"), "no command \"dance\"");
    EXPECT_EQ(errorOf(R"({"do":""})"), "no command \"\"");
    EXPECT_EQ(errorOf(R"({"do":"jail","resaon":"x"})"), "unknown member \"resaon\"");
    EXPECT_EQ(errorOf(R"({"do":"jail","reason":7})"), "\"reason\" must be a string");
    EXPECT_EQ(errorOf(R"({"do":"peers"})"), "\"count\" is missing");
    EXPECT_EQ(errorOf(R"({"do":"peers","count":-1})"),
              "\"count\" must be a whole number, 0 or more");
    EXPECT_EQ(errorOf(R"({"do":"peers","count":2000000})"), "more than a million peers");
    EXPECT_EQ(errorOf(std::string(100000, '[')).find("not JSON: "), 0u);
    EXPECT_TRUE(world->lines.empty());
}

TEST_F(SteeringLines, jailsAndUnjails) {
    EXPECT_EQ(errorOf(R"({"do":"jail","reason":"no disk encryption"})"), "");
    EXPECT_TRUE(world->model.isJailed());
    EXPECT_EQ(errorOf(R"({"do":"unjail"})"), "");
    EXPECT_FALSE(world->model.isJailed());
}

TEST_F(SteeringLines, putsTheDaemonInAState) {
    EXPECT_EQ(errorOf(R"({"do":"state","state":"NoState"})"), "");
    EXPECT_EQ(world->model.state(), BackendState::noState);
    EXPECT_NE(errorOf(R"({"do":"state","state":"running"})").find("no state \"running\""),
              std::string::npos);
    EXPECT_NE(errorOf(R"({"do":"state"})"), "");
    EXPECT_EQ(world->model.state(), BackendState::noState);
}

TEST_F(SteeringLines, logsOutAndInAgain) {
    EXPECT_EQ(errorOf(R"({"do":"login"})"), "logged in already");
    EXPECT_EQ(errorOf(R"({"do":"logout"})"), "");
    EXPECT_TRUE(obey(R"({"do":"login-url"})").at("url").is_null());
    world->model.beginLogin();
    EXPECT_EQ(obey(R"({"do":"login-url"})").at("url").as_string(), *world->model.pendingLoginUrl());
    EXPECT_EQ(errorOf(R"({"do":"login","surplus":1})"), "unknown member \"surplus\"");
    EXPECT_EQ(obey(R"({"do":"login"})").at("callback").as_string().find("quoxelin:"), 0u);
    EXPECT_EQ(world->model.state(), BackendState::starting);
}

TEST_F(SteeringLines, switchesProfiles) {
    EXPECT_EQ(errorOf(R"({"do":"switch","profile":"e09d"})"), "");
    EXPECT_EQ(world->model.currentId(), "e09d");
    EXPECT_EQ(errorOf(R"({"do":"switch","profile":"nobody"})"), "no such profile");
}

TEST_F(SteeringLines, replacesTheProfiles) {
    EXPECT_EQ(errorOf(R"({"do":"profiles","current":"b","profiles":[{"id":"a","name":"A"},)"
                      R"({"id":"b","name":"B","email":"b@b.example","logged-in":true,)"
                      R"("node-id":17,"user-id":18,"host":"box","display-name":"Bee"}]})"),
              "");
    ASSERT_EQ(world->model.accounts().size(), 2u);
    const Account& account = world->model.accounts()[1];
    EXPECT_EQ(account.email, "b@b.example");
    EXPECT_EQ(account.nodeId, 17);
    EXPECT_EQ(account.userId, 18);
    EXPECT_EQ(account.hostLabel, "box");
    EXPECT_EQ(account.displayName, "Bee");
    EXPECT_TRUE(account.wantRunning);
    EXPECT_EQ(world->model.state(), BackendState::starting);
}

TEST_F(SteeringLines, refusesHalfProfilesAsAWhole) {
    EXPECT_EQ(errorOf(R"({"do":"profiles","profiles":[{"id":"a","name":"A"},{"id":"b"}]})"),
              "profile 1: \"name\" is missing");
    EXPECT_NE(errorOf(R"({"do":"profiles","profiles":[7]})"), "");
    EXPECT_NE(errorOf(R"({"do":"profiles"})"), "");
    EXPECT_EQ(world->model.accounts().size(), 2u);
    EXPECT_EQ(world->model.currentId(), "7c41");
}

TEST_F(SteeringLines, scriptsACannedReply) {
    EXPECT_EQ(errorOf(R"({"do":"answer","method":"GET","path":"/p","times":1,"status":404,)"
                      R"("reason":"Gone Fishing","headers":{"X":"y"},"text":"no","repeat":3,)"
                      R"("delay":0.25,"split":[1,4],"pause":0.5})"),
              "");
    const auto answer = script.take("GET", "/p");
    ASSERT_TRUE(answer);
    const auto& reply = std::get<CannedReply>(answer->reply);
    EXPECT_EQ(reply.status, 404);
    EXPECT_EQ(reply.reason, "Gone Fishing");
    EXPECT_EQ(reply.headers.front().first, "X");
    EXPECT_EQ(reply.body, "nonono");
    EXPECT_EQ(answer->delay, std::chrono::milliseconds(250));
    EXPECT_EQ(answer->pacing.split, (std::vector<std::size_t>{1, 4}));
    EXPECT_EQ(answer->pacing.pause, std::chrono::milliseconds(500));
    EXPECT_FALSE(script.take("GET", "/p"));
}

TEST_F(SteeringLines, scriptsAJsonReply) {
    EXPECT_EQ(errorOf(R"({"do":"answer","path":"/p","json":{"b":1,"a":null}})"), "");
    const auto answer = script.take("GET", "/p");
    ASSERT_TRUE(answer);
    const auto& reply = std::get<CannedReply>(answer->reply);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, R"({"b":1,"a":null})");
    EXPECT_EQ(reply.headers.front().second, "application/json");
}

TEST_F(SteeringLines, scriptsEveryOtherKindOfReply) {
    const auto scripted = [&](std::string_view line) {
        script.clear("", "");
        EXPECT_EQ(errorOf(line), "");
        return script.take("GET", "/p").value_or(ScriptedAnswer{}).reply;
    };
    const auto raw = scripted(R"({"do":"answer-raw","base64":"/wA=","keep-open":true})");
    EXPECT_EQ(std::get<RawReply>(raw).bytes, std::string("\xFF\0", 2));
    EXPECT_TRUE(std::get<RawReply>(raw).keepOpen);
    EXPECT_EQ(std::get<TruncatedReply>(scripted(R"({"do":"truncate","bytes":7})")).bytes, 7u);
    EXPECT_TRUE(
        std::get<TruncatedReply>(scripted(R"({"do":"truncate","body-bytes":0})")).countsBody);
    EXPECT_TRUE(std::holds_alternative<NoReply>(scripted(R"({"do":"hang"})")));
    EXPECT_TRUE(std::holds_alternative<DroppedConnection>(scripted(R"({"do":"drop"})")));
    EXPECT_TRUE(std::holds_alternative<OwnReply>(scripted(R"({"do":"late","delay":1})")));
}

TEST_F(SteeringLines, scriptsNothingThatMakesNoSense) {
    for (const char* line : {
             R"({"do":"answer","status":99})",
             R"({"do":"answer","status":1000})",
             R"({"do":"answer","json":{},"text":"both"})",
             R"({"do":"answer","text":"a","base64":"YQ=="})",
             R"({"do":"answer","base64":"!"})",
             R"({"do":"answer","headers":{"X":1}})",
             R"({"do":"answer","headers":[]})",
             R"({"do":"answer","times":0})",
             R"({"do":"answer","delay":-1})",
             R"({"do":"answer","delay":"1"})",
             R"({"do":"answer","split":[4,4]})",
             R"({"do":"answer","split":7})",
             R"({"do":"answer","text":"aaaa","repeat":1000000000000})",
             R"({"do":"answer-raw"})",
             R"({"do":"answer-raw","text":"a","keep-open":1})",
             R"({"do":"truncate"})",
             R"({"do":"truncate","bytes":1,"body-bytes":1})",
         }) {
        EXPECT_NE(errorOf(line), "") << line;
    }
    EXPECT_FALSE(script.take("GET", "/p"));
}

TEST_F(SteeringLines, clearsTheScript) {
    obey(R"({"do":"hang","method":"GET","path":"/p"})");
    obey(R"({"do":"drop"})");
    EXPECT_EQ(obey(R"({"do":"clear","method":"GET","path":"/p"})").at("cleared"), 1);
    EXPECT_EQ(obey(R"({"do":"clear"})").at("cleared"), 1);
}

} // namespace
} // namespace quoxelin::sim
