#include "Tests/Helper/ServiceFixture.h"
#include "Tests/Support/Descriptors.h"

#include <gmock/gmock.h>
#include <malloc.h>
#include <sys/syscall.h>

/// What time it is for this program and its libraries, so that no test waits.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto outcome = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    time->tv_sec += quoxelin::helper::HelperService::passed.count();
    return outcome;
}

namespace quoxelin::helper {
namespace {

using quoxelin::testing::openDescriptors;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::StrEq;

TEST_F(HelperService, endsAfterAMinuteWithoutCalls) {
    EXPECT_THAT(asked, Contains("RequestName"));
    advance(std::chrono::seconds(59));
    const auto ping = send(callOf(":1.5", "Ping"));
    EXPECT_EQ(said[ping], "true");
    advance(std::chrono::seconds(59));
    told("/program", {});
    advance(std::chrono::seconds(59));
    EXPECT_THAT(asked, Not(Contains("ReleaseName")));
    advance(std::chrono::seconds(2));
    EXPECT_THAT(asked, Contains("ReleaseName"));
    EXPECT_FALSE(isServing());
    int code = -1;
    EXPECT_GE(sd_event_get_exit_code(event.get(), &code), 0);
    EXPECT_EQ(code, 0);
}

TEST_F(HelperService, takesItsNameFromNobodyAndHearsOnlyOfConnectionsThatEnd) {
    const char* name = nullptr;
    std::uint32_t flags = 0;
    auto* const request = last["RequestName"].get();
    sd_bus_message_rewind(request, 1);
    ASSERT_GT(sd_bus_message_read(request, "su", &name, &flags), 0);
    EXPECT_STREQ(name, "com.quoxelin.desktop.Helper");
    constexpr std::uint32_t doNotWait = 4;
    EXPECT_EQ(flags, doNotWait);
    EXPECT_THAT(text(last["AddMatch"].get()),
                AllOf(HasSubstr("member='NameOwnerChanged'"), HasSubstr("arg2=''")));
}

TEST_F(HelperService, beginsOnceAndOnlyOnABus) {
    const auto ignore = [](const std::string&) {};
    Service again(event.get(), bus.get(), bus.get(), "/nowhere", ignore);
    EXPECT_LT(again.begin(), 0);
    const auto nothing = made<sd_bus>(&sd_bus_new);
    Service nowhere(event.get(), nothing.get(), nothing.get(), "/nowhere", ignore);
    EXPECT_LT(nowhere.begin(), 0);
}

TEST_F(HelperService, servesWhatArrivesBeforeItsNameIsReleased) {
    silent = {"ReleaseName", "CheckAuthorization"};
    advance(std::chrono::seconds(61));
    const auto call = ask(":1.5");
    answer(lost.at(0).get());
    settle();
    EXPECT_TRUE(isServing());
    answer(lost.at(1).get());
    settle();
    EXPECT_EQ(outcomes[call], allowed);
    advance(std::chrono::seconds(61));
    EXPECT_FALSE(isServing());
}

TEST_F(HelperService, readsRequestsUpToTheirLimits) {
    using Words = std::vector<std::string>;
    const std::string read = "Only the bundled programs are run.";
    const std::string tooLarge = "The request is too large.";
    const Words up = {"up", "--conductor-host", "a.example.com", "--signal-host", "b.example.com"};
    EXPECT_EQ(told("/program", up), read);
    EXPECT_EQ(told("/program", Words(6, "up")), tooLarge);
    EXPECT_EQ(told(std::string(4096, '/'), {}), read);
    EXPECT_EQ(told(std::string(4097, '/'), {}), tooLarge);
    EXPECT_EQ(told("/program", {std::string(1024, 'u')}), read);
    EXPECT_EQ(told("/program", {std::string(1025, 'u')}), tooLarge);
}

TEST_F(HelperService, readsNothingMoreOfACallerWhoseRequestWasTooLarge) {
    const std::string tooLarge = "The request is too large.";
    EXPECT_EQ(told(":1.5", std::string(4097, '/'), {}), tooLarge);
    EXPECT_EQ(told(":1.5", "/program", {"up"}), tooLarge);
    EXPECT_EQ(told(":1.6", "/program", {"up"}), "Only the bundled programs are run.");
    ends(":1.5");
    EXPECT_EQ(told(":1.5", "/program", {"up"}), "Only the bundled programs are run.");
}

TEST_F(HelperService, remembersTheCallersOf4096RequestsThatWereTooLarge) {
    const std::string tooLarge = "The request is too large.";
    const std::vector<std::string> many(6, "up");
    for (int number = 0; number < 4096; ++number)
        EXPECT_EQ(told(":2." + std::to_string(number), "/program", many), tooLarge);
    EXPECT_EQ(told(":2.0", "/program", {}), tooLarge);
    EXPECT_EQ(told(":2.1", "/program", {}), tooLarge);
    EXPECT_EQ(told(":2.4096", "/program", many), tooLarge);
    EXPECT_EQ(told(":2.0", "/program", {}), "Only the bundled programs are run.");
}

TEST_F(HelperService, tellsWhichLimitACallerExceeds) {
    silent = {"GetConnectionUnixUser"};
    for (std::size_t count = 0; count < Requests::mostArrivals; ++count)
        ask(":1.5");
    const auto tooMany = ask(":1.5");
    EXPECT_EQ(outcomes[tooMany], SD_BUS_ERROR_LIMITS_EXCEEDED);
    EXPECT_EQ(said[tooMany], "Too many requests at once.");
}

TEST_F(HelperService, logsWhatItLeftOutWhileItWaits) {
    silent = {"CheckAuthorization"};
    ask(":1.5");
    for (int count = 0; count < 25; ++count)
        told(":1.6", "/program", {});
    advance(std::chrono::seconds(61));
    EXPECT_EQ(log.back(), "refused user 1000 5 more times");
}

TEST_F(HelperService, keepsNothingOfRequestsThatAreOver) {
    const auto used = [this] {
        for (int count = 0; count < 800; ++count) {
            ask(":1.5");
            told(":1.5", "/program", {std::string(1024, 'x')});
            told(":1.6", "/program", {std::string(1025, 'x')});
        }
        for (auto* const numbered : {&outcomes, &said})
            *numbered = {};
        asked = log = {};
        return ::mallinfo2().uordblks; // none under a sanitizer
    };
    for (int round = 0; round < 5; ++round)
        used(); // until the bus has all the memory that it keeps
    const auto before = used();
    auto after = before;
    for (int round = 0; round < 10; ++round)
        after = used(); // the bus may need a little more now and then
    EXPECT_LT(after, before + 10 * 800) << "a byte for each request";
}

TEST_F(HelperService, leavesNothingOpen) {
    const int before = openDescriptors();
    EXPECT_TRUE(made<sd_event>(&sd_event_new));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(HelperService, asksPolkitAboutTheCallerAndLetsItAskTheUser) {
    silent = {"CheckAuthorization"};
    ask(":1.5");
    ask(":1.6");
    std::set<std::string> names;
    for (const auto* const caller : {":1.5", ":1.6"}) {
        auto* const question = lost.at(names.size()).get();
        const char *kind, *key, *who, *action, *name;
        const char* details[4];
        std::uint32_t flags = 0;
        ASSERT_GT(sd_bus_message_read(question, "(sa{sv})sa{ss}us", &kind, 1, &key, "s", &who,
                                      &action, 2, &details[0], &details[1], &details[2],
                                      &details[3], &flags, &name),
                  0);
        EXPECT_STREQ(kind, "system-bus-name");
        EXPECT_STREQ(key, "name");
        EXPECT_STREQ(who, caller);
        EXPECT_STREQ(action, "com.quoxelin.desktop.helper.run");
        EXPECT_THAT(details, ElementsAre(StrEq("program"), StrEq("quoxelin"), StrEq("command"),
                                         StrEq("quoxelin up")));
        EXPECT_EQ(flags, 1u) << "polkit may ask the user";
        EXPECT_THAT(name, StartsWith("quoxelin-helper-"));
        names.insert(name);
    }
    EXPECT_THAT(names, SizeIs(2));
}

TEST_F(HelperService, withdrawsTheQuestionOfACallerThatHasGone) {
    silent = {"CheckAuthorization"};
    const auto call = ask(":1.5");
    ask(":1.6");
    ends(":1.5");
    EXPECT_THAT(asked, Contains("CancelCheckAuthorization").Times(1));
    auto* const withdrawal = last["CancelCheckAuthorization"].get();
    const char* name = nullptr;
    ASSERT_GT(sd_bus_message_skip(lost.at(0).get(), "(sa{sv})sa{ss}u"), 0);
    ASSERT_GT(sd_bus_message_read(lost.at(0).get(), "s", &name), 0);
    EXPECT_EQ(text(withdrawal), name);
    EXPECT_EQ(sd_bus_message_get_auto_start(withdrawal), 0) << "no question, no polkit";
    EXPECT_EQ(sd_bus_message_get_expect_reply(withdrawal), 0);
    answer(lost.at(0).get());
    settle();
    EXPECT_FALSE(outcomes.contains(call));
    EXPECT_THAT(log, SizeIs(0));
}

TEST_F(HelperService, takesOnlyAnAnswerOfPolkitForConsent) {
    silent = {"CheckAuthorization"};
    const auto first = ask(":1.5");
    sd_bus_reply_method_return(lost.at(0).get(), "b", 1);
    settle();
    EXPECT_EQ(outcomes[first], refused);
    const auto second = ask(":1.5");
    sd_bus_reply_method_return(lost.at(1).get(), "(bba{ss})", 0, 1, 0);
    settle();
    EXPECT_EQ(outcomes[second], refused);
}

TEST_F(HelperService, logsWhyPolkitDidNotAnswer) {
    silent = {"CheckAuthorization"};
    for (const char* const text : {"no\nagent", static_cast<const char*>(nullptr)}) {
        const auto call = ask(":1.5");
        const sd_bus_error error = {"com.example.Broken", text, 0};
        sd_bus_reply_method_error(lost.back().get(), &error);
        settle();
        EXPECT_EQ(outcomes[call], refused);
    }
    EXPECT_THAT(log, Contains("polkit did not answer: no\\x0aagent"));
    EXPECT_THAT(log, Contains("polkit did not answer: com.example.Broken"));
}

TEST_F(HelperService, refusesEverybodyWhenItsQuestionsGoNowhere) {
    sd_bus_close(bus.get());
    for (sd_bus* const closed : {bus.get(), static_cast<sd_bus*>(nullptr)}) {
        std::optional<uid_t> user = 1000;
        identify(closed, ":1.5", [&](auto known) { user = known; });
        EXPECT_FALSE(user);
        bool isAllowed = true;
        authorize(
            closed, {":1.5", "quoxelin", "quoxelin up"}, [&](bool answer) { isAllowed = answer; },
            [this](const std::string& line) { log.push_back(line); });
        EXPECT_FALSE(isAllowed);
    }
    EXPECT_EQ(log.front(), "polkit did not answer: Transport endpoint is not connected");
}

TEST_F(HelperService, endsWhenItLosesTheBus) {
    silent = {"ReleaseName"};
    far.reset();
    while (isServing() && sd_event_run(event.get(), 0) > 0) {
    }
    EXPECT_FALSE(isServing());
}

TEST_F(HelperService, refusesACallerWhenTheBusLosesTheAnswerAboutTheUser) {
    silent = {"GetConnectionUnixUser"};
    for (int number = 0; number < 100; ++number)
        ask(":1." + std::to_string(100 + number));
    advance(std::chrono::seconds(9));
    EXPECT_THAT(outcomes, SizeIs(0));
    advance(std::chrono::seconds(1));
    EXPECT_THAT(outcomes, SizeIs(100));
    EXPECT_THAT(outcomes, Each(Pair(::testing::_, refused)));
    silent.clear();
    EXPECT_EQ(outcomes[ask(":1.100")], allowed);
    advance(std::chrono::seconds(61));
    EXPECT_FALSE(isServing());
}

TEST_F(HelperService, endsAQuestionThatPolkitDoesNotAnswerInFiveMinutes) {
    silent = {"CheckAuthorization"};
    const auto first = ask(":1.5");
    const auto second = ask(":1.6");
    const auto third = ask(":1.7");
    advance(std::chrono::seconds(299));
    EXPECT_THAT(outcomes, SizeIs(0));
    EXPECT_THAT(lost, SizeIs(Requests::mostQuestions));
    silent.clear();
    advance(std::chrono::seconds(1));
    EXPECT_EQ(outcomes[first], refused);
    EXPECT_EQ(outcomes[second], refused);
    EXPECT_EQ(outcomes[third], allowed) << "it waited for a turn of the same user";
    EXPECT_THAT(asked, Contains("CancelCheckAuthorization").Times(2));
    EXPECT_THAT(log, Contains(HasSubstr("polkit did not answer: ")));
    // An answer that comes too late changes nothing.
    answer(lost.at(0).get());
    settle();
    EXPECT_EQ(outcomes[first], refused);
    advance(std::chrono::seconds(61));
    EXPECT_FALSE(isServing());
}

} // namespace
} // namespace quoxelin::helper
