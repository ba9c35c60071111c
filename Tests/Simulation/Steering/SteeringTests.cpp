#include "Simulation/Steering/Steering.h"

#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class SteeringTest : public ::testing::Test {
  protected:
    using Lines = std::vector<std::string>;

    SteeringTest() {
        steering.addAction("act", [this] { ++acts; });
        steering.add("take", [this](SteeringReader& reader) {
            text = reader.text("text").value_or("none");
            bytes = reader.bytes();
            reader.flag("flag");
            reader.count("count");
            reader.counts("counts");
            reader.duration("duration");
            reader.error("error", "Domain");
            if (reader.has("color"))
                reader.named<int>("color", {{"red", 1}, {"blue", 2}});
            return doing([this] { ++acts; });
        });
        steering.addCount("acts", [this] { return acts; });
        steering.addState("state", [this] { return state; });
    }

    /// The immediate answers to a line.
    Lines answersTo(std::string_view line) {
        answers.clear();
        steering.take(line);
        return answers;
    }

    std::string answerTo(std::string_view line) {
        const auto lines = answersTo(line);
        return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " answers";
    }

    std::string errorOf(const std::string& members) {
        const auto answer = answerTo(R"({"do":"take",)" + members + "}");
        const auto parsed = json::parse(answer);
        const auto* const error = parsed ? parsed->find("error") : nullptr;
        return error != nullptr ? std::string(error->string().value_or("")) : answer;
    }

    VirtualDispatch dispatch;
    std::size_t acts = 0;
    std::int64_t state = 0;
    std::string text;
    std::optional<std::string> bytes;
    Lines answers;
    Steering steering{
        [this](Duration delay, Work work) { dispatch.main().asyncAfter(delay, std::move(work)); },
        [this](const std::string& line) { answers.push_back(line); }};
};

TEST_F(SteeringTest, answersWithTheCommandAndAnyIdentifier) {
    EXPECT_EQ(answerTo(R"({"do":"act"})"), R"({"ok":true,"do":"act"})");
    EXPECT_EQ(answerTo(R"({"id":7,"do":"act"})"), R"({"ok":true,"do":"act","id":7})");
    EXPECT_EQ(answerTo(R"({"id":[1,"x\"",null],"do":"act"})"),
              R"({"ok":true,"do":"act","id":[1,"x\"",null]})");
}

TEST_F(SteeringTest, ignoresEmptyLines) {
    EXPECT_EQ(answersTo(""), Lines());
    EXPECT_EQ(answersTo(" \t\r"), Lines());
}

TEST_F(SteeringTest, answersABadLineWithAnErrorAndDoesNothing) {
    const auto deep = std::string(100000, '[');
    for (const auto* const line :
         {"{", "act", "\xFF", "[]", "7", "{}", R"({"do":7})", R"({"do":""})", R"({"do":"dance"})",
          R"({"do":"act"} {"do":"act"})", R"({"do":"act","x":1})", R"({"do":"wait"})",
          R"({"do":"wait","moon":1})", deep.c_str()}) {
        const auto answer = answerTo(line);
        EXPECT_EQ(answer.rfind("{\"ok\":false", 0), 0u) << line << " -> " << answer;
        EXPECT_NE(answer.find("\"error\":\""), std::string::npos) << line << " -> " << answer;
    }
    EXPECT_EQ(acts, 0u);
}

TEST_F(SteeringTest, reportsWhatIsWrongWithAMember) {
    EXPECT_EQ(errorOf(R"("shade":"red")"), R"("shade" is not understood here)");
    EXPECT_EQ(errorOf(R"("color":"green")"), R"("color" must be one of red, blue)");
    EXPECT_EQ(errorOf(R"("color":1)"), R"("color" must be a string)");
    EXPECT_EQ(errorOf(R"("flag":1)"), R"("flag" must be true or false)");
    for (const auto* const count : {"-1", "1.5", "\"1\"", "true"})
        EXPECT_EQ(errorOf(std::string(R"("count":)") + count),
                  R"("count" must be a whole number, 0 or more)");
    for (const auto* const counts : {"7", "[4,4]", "[-1]", "{}"})
        EXPECT_EQ(errorOf(std::string(R"("counts":)") + counts),
                  R"("counts" must be a list of rising whole numbers)");
    for (const auto* const duration : {"-1", "1e300", "\"1\"", "86401"})
        EXPECT_EQ(errorOf(std::string(R"("duration":)") + duration),
                  R"("duration" must be a number of seconds from 0 to 86400)");
    EXPECT_EQ(errorOf(R"("error":5)"), R"("error" must be an object)");
    EXPECT_EQ(errorOf(R"("error":{})"), R"(in "error": "code" is missing)");
    EXPECT_EQ(errorOf(R"("error":{"code":4,"x":1})"), R"(in "error": "x" is not understood here)");
    EXPECT_EQ(acts, 0u);
}

TEST_F(SteeringTest, repeatsTextsAndBytesAsOftenAsAsked) {
    answerTo(R"({"do":"take","text":"\u65e5","repeat":2})");
    EXPECT_EQ(bytes, "日日");
    answerTo(R"({"do":"take","bytes":"\u00ffa\u0000"})");
    EXPECT_EQ(bytes, std::string("\xFF"
                                 "a\0",
                                 3));
    answerTo(R"({"do":"take"})");
    EXPECT_EQ(bytes, std::nullopt);
    EXPECT_EQ(errorOf(R"("bytes":"\u0100")"), R"("bytes" has a character beyond U+00FF)");
    EXPECT_EQ(errorOf(R"("text":"a","bytes":"b")"), R"("text" and "bytes" exclude each other)");
    EXPECT_EQ(errorOf(R"("text":"aaaa","repeat":1000000000000)"), "more than a gigabyte");
}

TEST_F(SteeringTest, writesAnyBytesAsText) {
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(bytesFromText(textFromBytes(all)), all);
}

TEST_F(SteeringTest, mayAnswerLater) {
    std::optional<SteeringReply> owed;
    steering.add("press", [&](SteeringReader& reader) -> SteeringEffect {
        return [&owed, label = reader.requiredText("label")](const SteeringReply& reply) {
            EXPECT_EQ(label, "Connect");
            owed = reply;
        };
    });
    EXPECT_EQ(answersTo(R"({"do":"press","label":"Connect","id":3})"), Lines());
    owed->ok({{"pressed", 1}});
    EXPECT_EQ(answers, Lines{R"({"ok":true,"do":"press","id":3,"pressed":1})"});
    EXPECT_EQ(answerTo(R"({"do":"help"})"),
              R"({"ok":true,"do":"help","commands":["act","help","press","take","wait"]})");
}

TEST_F(SteeringTest, waitsUntilAllConditionsHoldAtOnce) {
    EXPECT_EQ(answersTo(R"({"do":"wait","acts":2,"state":1,"id":1})"), Lines());
    acts = 3;
    steering.look();
    state = 1;
    acts = 1;
    steering.look();
    EXPECT_EQ(answers, Lines());
    acts = 2;
    steering.look();
    steering.look();
    EXPECT_EQ(answers, Lines{R"({"ok":true,"do":"wait","id":1})"});
    EXPECT_EQ(answerTo(R"({"do":"wait","state":1})"), R"({"ok":true,"do":"wait"})");
    answers.clear();
    dispatch.advance(seconds(20));
    EXPECT_EQ(answers, Lines());
}

TEST_F(SteeringTest, endsAWaitAfterItsTimeout) {
    answersTo(R"({"do":"wait","acts":1,"timeout":0.5})");
    dispatch.advance(seconds(0.49));
    EXPECT_EQ(answers, Lines());
    dispatch.advance(seconds(0.01));
    EXPECT_EQ(answers, Lines{R"({"ok":false,"do":"wait","error":"waited in vain for \"acts\""})"});
}

TEST_F(SteeringTest, dropsItsWaitsWhenDestroyed) {
    Lines late;
    auto shortLived = std::make_unique<Steering>(
        [this](Duration delay, Work work) { dispatch.main().asyncAfter(delay, std::move(work)); },
        [&](const std::string& line) { late.push_back(line); });
    shortLived->addState("never", [] { return 0; });
    shortLived->take(R"({"do":"wait","never":1,"timeout":1})");
    shortLived.reset();
    dispatch.advance(seconds(2));
    EXPECT_EQ(late, Lines());
}

} // namespace quoxelin::testing
