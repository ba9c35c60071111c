#include "Helper/Requests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

namespace quoxelin::helper {
namespace {

using enum Refusal::Reason;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Outcome = tl::expected<std::string, Refusal>;

/// The helper's decisions with a simulated bus, polkit and programs.
class HelperRequests : public ::testing::Test {
  protected:
    struct Question {
        Requests::Question asked;
        std::function<void(bool)> answer;
        std::weak_ptr<void> handle;
    };

    Requests::Dependencies dependencies() {
        return {
            "/bundle",
            [this](const std::string& caller, std::function<void(std::optional<uid_t>)> answer) {
                if (const auto known = users.find(caller); known != users.end())
                    return answer(known->second);
                unidentified.emplace_back(caller, std::move(answer));
            },
            [this](const Requests::Question& asked, std::function<void(bool)> answer) {
                auto handle = std::make_shared<int>();
                questions.push_back({asked, std::move(answer), handle});
                return handle;
            },
            [this](const std::string& path) -> tl::expected<std::string, std::string> {
                EXPECT_EQ(path, "/bundle/Contents/Info.plist");
                return list;
            },
            [this](const std::string& path) { return open(path); },
            [this](const TrustedFile&, const Arguments& words, Requests::Finished finished) {
                return run(words, std::move(finished));
            },
            [this](const std::string& line) { log.push_back(line); },
            [this] { return now; }};
    }

    tl::expected<TrustedFile, std::string> open(const std::string& path) {
        openedPaths.push_back(path);
        if (!fileProblem.empty())
            return tl::unexpected(fileProblem);
        return TrustedFile();
    }

    tl::expected<pid_t, std::string> run(const Arguments& words, Requests::Finished finished) {
        if (!startProblem.empty())
            return tl::unexpected(startProblem);
        started.push_back(words);
        running.push_back(std::move(finished));
        return 77;
    }

    /// The outcome is empty until the reply. A second reply is a failure.
    std::shared_ptr<std::optional<Outcome>> ask(const std::string& caller = ":1.5",
                                                const std::string& path = tool,
                                                const Arguments& arguments = {"up"}) {
        auto outcome = std::make_shared<std::optional<Outcome>>();
        requests->runGoTool(caller, path, arguments, [outcome](Outcome replied) {
            EXPECT_FALSE(outcome->has_value());
            *outcome = std::move(replied);
        });
        return outcome;
    }

    /// Answers all questions to polkit, including those that come up meanwhile.
    void consent() {
        for (; answered < questions.size(); ++answered)
            std::exchange(questions[answered].answer, nullptr)(true);
    }

    static std::string reason(const std::optional<Outcome>& outcome) {
        return outcome && !*outcome ? outcome->error().text : "";
    }

    static std::optional<Refusal::Reason> refusal(const std::optional<Outcome>& outcome) {
        return outcome && !*outcome ? std::optional(outcome->error().reason) : std::nullopt;
    }

    inline static const std::string tool = pathOf("/bundle", Program::tool);
    inline static const std::string daemon = pathOf("/bundle", Program::daemon);

    std::map<std::string, uid_t> users = {{":1.5", 1000}, {":1.6", 1001}, {":1.7", 0}};
    std::vector<std::pair<std::string, std::function<void(std::optional<uid_t>)>>> unidentified;
    std::vector<Question> questions;
    std::size_t answered = 0;
    std::vector<std::string> openedPaths;
    std::vector<Arguments> started;
    std::vector<Requests::Finished> running;
    std::vector<std::string> log;
    std::string fileProblem;
    std::string startProblem;
    tl::expected<std::string, std::string> list = std::string("<plist><dict></dict></plist>");
    RefusalLog::Clock::time_point now;
    std::optional<Requests> requests{dependencies()};
};

TEST_F(HelperRequests, runTheProgramOnceItIsAllowed) {
    const auto outcome = ask();
    EXPECT_THAT(openedPaths, IsEmpty());
    consent();
    EXPECT_THAT(openedPaths, ElementsAre(tool));
    EXPECT_THAT(started, ElementsAre(ElementsAre(tool, "up")));
    EXPECT_FALSE(outcome->has_value());
    EXPECT_TRUE(requests->isBusy());
    running.at(0)("output", "exit code 0");
    EXPECT_EQ(**outcome, "output");
    EXPECT_FALSE(requests->isBusy());
    EXPECT_THAT(log, ElementsAre("user 1000 (:1.5) runs quoxelin up: process 77",
                                 "user 1000 (:1.5) ran quoxelin up: exit code 0"));
}

TEST_F(HelperRequests, tellPolkitWhatIsAsked) {
    list = std::string("<plist><dict><key>QXConductorURL</key><string>h</string></dict></plist>");
    ask(":1.5", daemon, {"up", "--conductor-host", "h"});
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].asked.caller, ":1.5");
    EXPECT_EQ(questions[0].asked.program, "quoxelind");
    EXPECT_EQ(questions[0].asked.command, "quoxelind up --conductor-host h");
}

TEST_F(HelperRequests, passNoHostThatTheBundleDoesNotName) {
    EXPECT_EQ(refusal(*ask(":1.5", daemon, {"up", "--conductor-host", "h"})), invalidArguments);
    list = tl::unexpected(std::string("belongs to another user"));
    EXPECT_EQ(refusal(*ask(":1.5", daemon, {"up"})), failed);
    list = std::string("<plist>");
    EXPECT_EQ(refusal(*ask(":1.5", daemon, {"up"})), failed);
    EXPECT_THAT(questions, IsEmpty());
}

TEST_F(HelperRequests, forHelpNeedNothingOfTheBundle) {
    list = tl::unexpected(std::string("belongs to another user"));
    EXPECT_FALSE(ask(":1.7", daemon, {"--help"})->has_value());
    EXPECT_EQ(refusal(*ask(":1.7", daemon, {})), invalidArguments);
}

TEST_F(HelperRequests, areToldWhyTheyAreRefused) {
    EXPECT_EQ(reason(*ask(":1.5", "/bin/sh", {"-c", "id"})), "Only the bundled programs are run.");
    EXPECT_THAT(log.back(), EndsWith("Asked for: /bin/sh -c id"));
    ask(":1.5", "", {});
    EXPECT_THAT(log.back(), EndsWith("Asked for: "));
    EXPECT_EQ(reason(*ask(":1.5", tool, {"reboot"})),
              "The program is not run with these arguments.");
    list = std::string("<plist>");
    EXPECT_EQ(reason(*ask(":1.5", daemon, {"up"})), "The bundle is not as it was installed.");
    EXPECT_THAT(log.back(), HasSubstr("installed. The property list is broken. Asked for: "));
    list = tl::unexpected(std::string("belongs to another user"));
    ask(":1.5", daemon, {"up"});
    EXPECT_THAT(log.back(), HasSubstr("installed. belongs to another user Asked for: "));
    const auto stranger = ask(":1.99");
    unidentified.at(0).second(std::nullopt);
    EXPECT_EQ(reason(*stranger), "Not authorized.");
    fileProblem = "is a symbolic link";
    const auto changed = ask();
    consent();
    EXPECT_EQ(reason(*changed), "The program is not as it was installed.");
    fileProblem = "";
    startProblem = "Exec format error";
    const auto broken = ask();
    consent();
    EXPECT_EQ(reason(*broken), "The program could not be started.");
}

TEST_F(HelperRequests, askForTheUserOnceUntilTheConnectionEnds) {
    ask(":1.99");
    unidentified.at(0).second(1002);
    ask(":1.99");
    EXPECT_EQ(unidentified.size(), 1u);
    requests->callerHasGone(":1.99");
    ask(":1.99");
    EXPECT_EQ(unidentified.size(), 2u);
}

TEST_F(HelperRequests, rememberTheUsersOf4096Connections) {
    const auto isAskedAbout = [&](int number) {
        const auto before = unidentified.size();
        ask(":2." + std::to_string(number), "/bin/sh");
        if (unidentified.size() > before)
            unidentified.back().second(1000);
        return unidentified.size() > before;
    };
    for (int number = 0; number < 4096; ++number)
        EXPECT_TRUE(isAskedAbout(number));
    EXPECT_FALSE(isAskedAbout(0));
    EXPECT_FALSE(isAskedAbout(4095));
    EXPECT_TRUE(isAskedAbout(4096));
    EXPECT_TRUE(isAskedAbout(0));
}

TEST_F(HelperRequests, countOnlyRefusals) {
    ask(":1.99");
    unidentified.at(0).second(1002);
    EXPECT_FALSE(requests->writeCounts());
    ask(":1.99", "/bin/sh");
    EXPECT_TRUE(requests->writeCounts());
}

TEST_F(HelperRequests, areRefusedToTheWrongCaller) {
    const auto outcome = ask();
    questions.at(0).answer(false);
    EXPECT_EQ(refusal(*outcome), notAuthorized);
    EXPECT_THAT(openedPaths, IsEmpty());
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(log,
                ElementsAre("refused user 1000 (:1.5): Not authorized. Asked for: quoxelin up"));
    EXPECT_FALSE(requests->isBusy());
}

TEST_F(HelperRequests, forAnotherProgramOrOtherArgumentsAskNoOtherService) {
    EXPECT_EQ(refusal(*ask(":1.7", "/bin/sh", {"-c", "id"})), invalidArguments);
    EXPECT_EQ(refusal(*ask(":1.7", "quoxelin")), invalidArguments);
    EXPECT_EQ(refusal(*ask(":1.7", "/bundle/Contents/../Contents/Resources/quoxelin")),
              invalidArguments);
    EXPECT_EQ(refusal(*ask(":1.7", tool, {"up", "--exit-node=evil"})), invalidArguments);
    EXPECT_EQ(refusal(*ask(":1.7", tool, {})), invalidArguments);
    EXPECT_THAT(questions, IsEmpty());
    EXPECT_THAT(openedPaths, IsEmpty());
}

TEST_F(HelperRequests, thatAreTooLargeAreRefusedAndLogged) {
    std::optional<Outcome> outcome;
    requests->refuseUnread(":1.5", [&](Outcome replied) { outcome = std::move(replied); });
    EXPECT_EQ(refusal(outcome), invalidArguments);
    EXPECT_THAT(
        log, ElementsAre(
                 "refused user 1000 (:1.5): The request is too large. Asked for: something long"));
}

TEST_F(HelperRequests, failIfTheFileWasChanged) {
    fileProblem = tool + " is a symbolic link";
    const auto outcome = ask();
    consent();
    EXPECT_EQ(refusal(*outcome), failed);
    EXPECT_THAT(started, IsEmpty());
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], HasSubstr("is a symbolic link"));
    EXPECT_THAT((*outcome)->error().text, ::testing::Not(HasSubstr("symbolic")));
    EXPECT_FALSE(requests->isBusy());
}

TEST_F(HelperRequests, failWhenTheProgramCannotBeStarted) {
    startProblem = "Exec format error";
    const auto outcome = ask();
    consent();
    EXPECT_EQ(refusal(*outcome), failed);
    EXPECT_FALSE(requests->isBusy());
}

TEST_F(HelperRequests, ofAConnectionThatTheBusDoesNotKnowAreRefused) {
    const auto outcome = ask(":1.99");
    EXPECT_TRUE(requests->isBusy());
    unidentified.at(0).second(std::nullopt);
    EXPECT_EQ(refusal(*outcome), notAuthorized);
    EXPECT_FALSE(requests->isBusy());
}

TEST_F(HelperRequests, askOneQuestionForEachConnection) {
    std::vector<std::shared_ptr<std::optional<Outcome>>> asked;
    for (int count = 0; count < 9; ++count)
        asked.push_back(ask(":1.99"));
    EXPECT_EQ(unidentified.size(), 1u);
    EXPECT_FALSE(asked[7]->has_value());
    EXPECT_EQ(refusal(*asked[8]), limitsExceeded);
    EXPECT_EQ(reason(*asked[8]), "Too many requests at once.");
    EXPECT_FALSE(ask(":1.5")->has_value()) << "one connection does not hold up another";
    unidentified[0].second(1002);
    consent();
    EXPECT_EQ(questions.size(), 9u);
    requests.reset();
    EXPECT_EQ(log.back(), "refused user 1002 1 more times");
}

TEST_F(HelperRequests, ofOneUserWaitAndLeaveRoomForOthers) {
    std::vector<std::shared_ptr<std::optional<Outcome>>> flood;
    for (int count = 0; count < 1000; ++count)
        flood.push_back(ask());
    EXPECT_EQ(questions.size(), Requests::mostQuestions);
    EXPECT_FALSE(flood[65]->has_value()) << "64 wait";
    EXPECT_EQ(refusal(*flood[66]), limitsExceeded);
    EXPECT_EQ(reason(*flood[66]), "Too many requests at once.");

    const auto other = ask(":1.6");
    const auto root = ask(":1.7");
    questions.back().answer(true);
    questions[questions.size() - 2].answer(true);
    for (const auto& finished : running)
        finished("fine", "exit code 0");
    EXPECT_EQ(**other, "fine");
    EXPECT_EQ(**root, "fine");

    questions[0].answer(false);
    EXPECT_EQ(questions.size(), Requests::mostQuestions + 3) << "the next in line is asked about";
}

TEST_F(HelperRequests, thatWaitForAnAnswerAreCountedApartFromRunningPrograms) {
    for (int count = 0; count < 8; ++count)
        ask();
    consent();
    EXPECT_EQ(running.size(), 8u);
    const auto waiting = ask();
    for (int count = 1; count < 64; ++count)
        ask();
    consent();
    EXPECT_EQ(questions.size(), 72u) << "polkit is asked all the same";
    EXPECT_EQ(running.size(), 8u);
    const auto tooMany = ask();
    consent();
    EXPECT_EQ(refusal(*tooMany), limitsExceeded);
    EXPECT_EQ(reason(*tooMany), "Too many programs run.");
    running[3]("", "exit code 0");
    EXPECT_EQ(running.size(), 9u);
    EXPECT_EQ(log[log.size() - 2], "user 1000 (:1.5) ran quoxelin up: exit code 0");
    EXPECT_EQ(log.back(), "user 1000 (:1.5) runs quoxelin up: process 77");
    running.back()("late", "exit code 0");
    EXPECT_EQ(**waiting, "late");
}

TEST_F(HelperRequests, ofRootAreNeverRefused) {
    for (int count = 0; count < 1000; ++count)
        EXPECT_FALSE(ask(":1.7")->has_value());
    EXPECT_EQ(questions.size(), 1000u);
    consent();
    EXPECT_EQ(running.size(), 1000u);
}

TEST_F(HelperRequests, areCanceledWhenTheCallerLeaves) {
    for (int count = 0; count < 20; ++count)
        ask();
    const auto own = ask(":1.98");
    unidentified.at(0).second(1000);
    ask(":1.99");
    requests->callerHasGone(":1.5");
    for (std::size_t index = 0; index < Requests::mostQuestions; ++index)
        EXPECT_TRUE(questions[index].handle.expired());
    ASSERT_EQ(questions.size(), Requests::mostQuestions + 1);
    EXPECT_EQ(questions.back().asked.caller, ":1.98") << "the same user's next one has its turn";
    requests->callerHasGone(":1.98");
    requests->callerHasGone(":1.99");
    EXPECT_FALSE(requests->isBusy());
    EXPECT_FALSE(own->has_value());
    unidentified.at(1).second(1000);
    questions[0].answer(true);
    EXPECT_THAT(started, IsEmpty());
}

TEST_F(HelperRequests, thatRunOutliveTheirCaller) {
    ask();
    consent();
    requests->callerHasGone(":1.5");
    EXPECT_TRUE(requests->isBusy());
    running.at(0)("", "ended by signal 9");
    EXPECT_FALSE(requests->isBusy());
    EXPECT_EQ(log.back(), "user 1000 (:1.5) ran quoxelin up: ended by signal 9");
}

TEST_F(HelperRequests, cannotFakeLinesOfTheLog) {
    ask(":1.5", "/bin/x\nAug 1 sshd: accepted\x1B[2J" + std::string(3000, 'y'), {"\xFF"});
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], HasSubstr("/bin/x\\x0aAug 1 sshd: accepted\\x1b[2Jyyy"));
    EXPECT_LT(log[0].size(), 400u);
}

} // namespace
} // namespace quoxelin::helper
