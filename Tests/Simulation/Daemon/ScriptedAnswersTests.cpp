#include "Simulation/Daemon/ScriptedAnswers.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

ScriptedAnswer replyWith(int status, std::string method, std::string path,
                         std::optional<std::size_t> times = std::nullopt) {
    return {std::move(method), std::move(path), times, CannedReply{status, ""}};
}

/// The status of the scripted answer; 0 if the daemon answers.
int statusOf(const std::optional<ScriptedReply>& reply) {
    return reply ? std::get<CannedReply>(*reply).status : 0;
}

TEST(ScriptedAnswers, doesNotAnswerUnscriptedRequests) {
    ScriptedAnswers script;
    script.add(replyWith(500, "GET", "/status"));
    EXPECT_EQ(statusOf(script.take("POST", "/status")), 0);
    EXPECT_EQ(statusOf(script.take("GET", "/status/more")), 0);
    EXPECT_EQ(statusOf(script.take("GET", "/status")), 500);
}

TEST(ScriptedAnswers, usesLimitedAnswersInOrderBeforeThePermanentOne) {
    ScriptedAnswers script;
    script.add(replyWith(500, "GET", "/status"));
    script.add(replyWith(501, "GET", "/status", 1));
    script.add(replyWith(502, "GET", "/status", 2));
    for (const int expected : {501, 502, 502, 500, 500})
        EXPECT_EQ(statusOf(script.take("GET", "/status")), expected);
}

TEST(ScriptedAnswers, replacesAPermanentAnswer) {
    ScriptedAnswers script;
    script.add(replyWith(500, "GET", "/status"));
    script.add(replyWith(404, "GET", "/status"));
    EXPECT_EQ(statusOf(script.take("GET", "/status")), 404);
    EXPECT_EQ(script.clear("GET", "/status"), 1u);
    EXPECT_EQ(statusOf(script.take("GET", "/status")), 0);
}

TEST(ScriptedAnswers, comparesTheQueryOnlyIfOneIsGiven) {
    ScriptedAnswers script;
    script.add(replyWith(500, "", "/switch?id=a"));
    EXPECT_EQ(statusOf(script.take("POST", "/switch?id=b")), 0);
    EXPECT_EQ(statusOf(script.take("POST", "/switch?id=a")), 500);
    script.add(replyWith(404, "", "/switch"));
    EXPECT_EQ(statusOf(script.take("POST", "/switch?id=b")), 404);
}

} // namespace
} // namespace quoxelin::sim
