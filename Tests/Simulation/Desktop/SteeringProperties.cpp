#include "Tests/Simulation/Desktop/SteeredSystem.h"
#include "Tests/Support/Generators.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

struct Steered : SteeredSystem {
    /// The answers to the line, including late ones.
    std::vector<std::string> take(const std::string& line) {
        answers.clear();
        steering.take(line);
        dispatch.advance(seconds(20));
        return answers;
    }

    std::vector<std::string> commandNames() {
        const auto answer = json::parse(take(R"({"do":"help"})").at(0)).value();
        return answer.find("commands")->strings().value();
    }
};

/// Whether the line is an answer: an object with "ok", and with "error" unless "ok" is true.
bool isAnswer(const std::string& line) {
    const auto answer = json::parse(line);
    const auto* const ok = answer ? answer->find("ok") : nullptr;
    return ok != nullptr && ok->boolean() && *ok->boolean() == (answer->find("error") == nullptr);
}

/// A possibly valid command: a known name with members of any command.
rc::Gen<std::string> command(const std::vector<std::string>& names) {
    using rc::gen::element;
    const auto member = rc::gen::map(
        rc::gen::pair(
            element<std::string>("id", "delay", "answers", "result", "version", "error", "seconds",
                                 "comes-up", "operation", "place", "status", "provider",
                                 "description", "state", "argument", "output", "service", "granted",
                                 "allowed", "available", "refused", "beginning", "path", "url",
                                 "title", "vpn-status", "urls", "unknown"),
            element<std::string>("0", "1", "2.5", "-1", "1e99", "9223372036854775807", "true",
                                 "null", "\"\"", "\"save\"", "\"helper\"", "\"silent\"",
                                 "\"x-a:b\"", "[]", "{}", "{\"code\":12}", "{\"code\":\"x\"}")),
        [](const std::pair<std::string, std::string>& member) {
            return ",\"" + member.first + "\":" + member.second;
        });
    return rc::gen::map(
        rc::gen::pair(rc::gen::elementOf(names),
                      rc::gen::resize(4, rc::gen::container<std::vector<std::string>>(member))),
        [](const std::pair<std::string, std::vector<std::string>>& command) {
            auto line = "{\"do\":\"" + command.first + '"';
            for (const auto& member : command.second)
                line += member;
            return line + '}';
        });
}

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r\n") == std::string::npos;
}

} // namespace

RC_GTEST_PROP(SteeringProperties, answersAnyBytesOnceAndInJson, ()) {
    Steered steered;
    const auto line = *rc::gen::oneOf(generate::bytes(), generate::text());
    const auto answers = steered.take(line);
    RC_ASSERT(answers.size() == (isBlank(line) ? 0U : 1U));
    if (!answers.empty())
        RC_ASSERT(isAnswer(answers[0]));
}

RC_GTEST_PROP(SteeringProperties, answersEveryCommandOnceWhateverItsMembers, ()) {
    Steered steered;
    const auto lines =
        *rc::gen::container<std::vector<std::string>>(command(steered.commandNames()));
    for (const auto& line : lines) {
        const auto answers = steered.take(line);
        // A wait may take longer than the test waits.
        const auto isWait = line.rfind(R"({"do":"wait")", 0) == 0;
        RC_ASSERT(answers.size() == 1U || (isWait && answers.empty()));
        for (const auto& answer : answers)
            RC_ASSERT(isAnswer(answer));
    }
}

} // namespace quoxelin::testing
