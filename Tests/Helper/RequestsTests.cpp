#include "Helper/Requests.h"

#include "Helper/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

namespace quoxelin::helper {
namespace {

using enum Refusal::Reason;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Outcome = tl::expected<std::string, Refusal>;

/// The helper's decisions between a polkit and programs that the tests play.
class HelperRequests : public ::testing::Test {
  protected:
    HelperRequests()
        : requests(
              {"/bundle",
               [this](const Caller&, std::function<void(bool)> answer) {
                   questions.push_back(std::move(answer));
               },
               [this](const std::string& path) { return open(path); },
               [this](const FileDescriptor&, const std::vector<std::string>& words,
                      std::function<void(std::string)> finished) { return run(words, finished); },
               [this](const std::string& line) { log.push_back(line); }}) {}

    tl::expected<FileDescriptor, std::string> open(const std::string& path) {
        openedPaths.push_back(path);
        if (!fileProblem.empty())
            return tl::unexpected(fileProblem);
        return FileDescriptor();
    }

    tl::expected<void, std::string> run(const std::vector<std::string>& words,
                                        std::function<void(std::string)> finished) {
        if (!startProblem.empty())
            return tl::unexpected(startProblem);
        started.push_back(words);
        running.push_back(std::move(finished));
        return {};
    }

    /// The outcome is there when it has been replied, and it may be replied only once.
    std::shared_ptr<std::optional<Outcome>> ask(uid_t user = 1000, const std::string& path = tool,
                                                const std::vector<std::string>& arguments = {
                                                    "up"}) {
        auto outcome = std::make_shared<std::optional<Outcome>>();
        requests.runGoTool({":1.5", user}, path, arguments, [outcome](Outcome replied) {
            EXPECT_FALSE(outcome->has_value());
            *outcome = std::move(replied);
        });
        return outcome;
    }

    static std::optional<Refusal::Reason> refusal(const std::optional<Outcome>& outcome) {
        return outcome && !*outcome ? std::optional(outcome->error().reason) : std::nullopt;
    }

    inline static const std::string tool = pathOf("/bundle", Program::tool);

    std::vector<std::function<void(bool)>> questions;
    std::vector<std::string> openedPaths;
    std::vector<std::vector<std::string>> started;
    std::vector<std::function<void(std::string)>> running;
    std::vector<std::string> log;
    std::string fileProblem;
    std::string startProblem;
    Requests requests;
};

TEST_F(HelperRequests, runTheProgramOnceItIsAllowed) {
    const auto outcome = ask();
    EXPECT_THAT(openedPaths, IsEmpty());
    questions.at(0)(true);
    EXPECT_THAT(openedPaths, ElementsAre(tool));
    EXPECT_THAT(started, ElementsAre(ElementsAre(tool, "up")));
    EXPECT_FALSE(outcome->has_value());
    EXPECT_TRUE(requests.isBusy());
    running.at(0)("output");
    EXPECT_EQ(**outcome, "output");
    EXPECT_FALSE(requests.isBusy());
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(HelperRequests, areRefusedToTheWrongCaller) {
    const auto outcome = ask(4321);
    questions.at(0)(false);
    EXPECT_EQ(refusal(*outcome), notAuthorised);
    EXPECT_THAT(openedPaths, IsEmpty());
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(
        log, ElementsAre("refused user 4321 (:1.5): Not authorised. Asked for: " + tool + " up"));
    EXPECT_FALSE(requests.isBusy());
}

TEST_F(HelperRequests, forAnotherProgramBotherNobody) {
    EXPECT_EQ(refusal(*ask(0, "/bin/sh", {"-c", "id"})), invalidArguments);
    EXPECT_EQ(refusal(*ask(0, "quoxelin")), invalidArguments);
    EXPECT_EQ(refusal(*ask(0, "/bundle/Contents/../Contents/Resources/quoxelin")),
              invalidArguments);
    EXPECT_THAT(questions, IsEmpty());
    EXPECT_THAT(openedPaths, IsEmpty());
}

TEST_F(HelperRequests, withOtherArgumentsBotherNobody) {
    EXPECT_EQ(refusal(*ask(0, tool, {"up", "--exit-node=evil"})), invalidArguments);
    EXPECT_EQ(refusal(*ask(0, tool, {})), invalidArguments);
    EXPECT_THAT(questions, IsEmpty());
}

TEST_F(HelperRequests, failWhenTheFileIsNotAsInstalled) {
    fileProblem = tool + " is a symbolic link";
    const auto outcome = ask();
    questions.at(0)(true);
    EXPECT_EQ(refusal(*outcome), failed);
    EXPECT_THAT(started, IsEmpty());
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], HasSubstr("is a symbolic link"));
    EXPECT_THAT((*outcome)->error().text, ::testing::Not(HasSubstr("symbolic")));
}

TEST_F(HelperRequests, failWhenTheProgramCannotBeStarted) {
    startProblem = "Exec format error";
    const auto outcome = ask();
    questions.at(0)(true);
    EXPECT_EQ(refusal(*outcome), failed);
    EXPECT_FALSE(requests.isBusy());
}

TEST_F(HelperRequests, ofOneUserAreLimitedAndLeaveRoomForOthers) {
    std::vector<std::shared_ptr<std::optional<Outcome>>> flood;
    for (int count = 0; count < 1000; ++count)
        flood.push_back(ask(1000));
    EXPECT_EQ(questions.size(), Requests::mostForAUser);
    EXPECT_EQ(refusal(*flood[Requests::mostForAUser]), limitsExceeded);
    EXPECT_EQ(refusal(*flood.back()), limitsExceeded);

    const auto other = ask(1001);
    questions.back()(true);
    running.back()("fine");
    EXPECT_EQ(**other, "fine");

    questions[0](false);
    EXPECT_FALSE(ask(1000)->has_value()) << "a slot that is given back can be taken again";
    EXPECT_EQ(refusal(*ask(1000)), limitsExceeded);
}

TEST_F(HelperRequests, areLimitedInTotal) {
    for (uid_t user = 1000; user < 1100; ++user)
        ask(user);
    EXPECT_EQ(questions.size(), Requests::mostInTotal);
}

TEST_F(HelperRequests, thatRunKeepTheirSlot) {
    for (std::size_t count = 0; count < Requests::mostForAUser; ++count) {
        ask();
        questions.back()(true);
    }
    EXPECT_EQ(refusal(*ask()), limitsExceeded);
    running[3]("");
    EXPECT_EQ(refusal(*ask()), std::nullopt);
}

TEST_F(HelperRequests, cannotFeignLinesOfTheLog) {
    ask(1000, "/bin/x\nAug 1 sshd: accepted\x1B[2J" + std::string(5000, 'y'), {"\xFF"});
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], HasSubstr("/bin/x\\x0aAug 1 sshd: accepted\\x1b[2Jyyy"));
    EXPECT_LT(log[0].size(), 400u);
}

} // namespace
} // namespace quoxelin::helper
