#include "Helper/Service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::chrono::seconds passed{0};

} // namespace

/// What time it is for this program and its libraries, so that no test waits.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto outcome = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    time->tv_sec += passed.count();
    return outcome;
}

namespace quoxelin::helper {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::StrEq;

/// The helper on a bus, whose other end plays the bus, polkit and the callers.
class HelperService : public ::testing::Test {
  protected:
    HelperService() {
        int ends[2] = {-1, -1};
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
        sd_bus_set_fd(bus.get(), ends[0], ends[0]);
        sd_bus_set_bus_client(bus.get(), 1);
        sd_bus_set_exit_on_disconnect(bus.get(), 1);
        sd_bus_start(bus.get());
        sd_bus_attach_event(bus.get(), event.get(), SD_EVENT_PRIORITY_NORMAL);
        sd_bus_set_fd(far.get(), ends[1], ends[1]);
        sd_id128_t server = {};
        server.bytes[0] = 1;
        sd_bus_set_server(far.get(), 1, server);
        sd_bus_add_filter(far.get(), nullptr, &HelperService::arrived, this);
        sd_bus_start(far.get());
        EXPECT_GE(service.begin(), 0);
        settle();
    }

    bool isServing() const { return sd_event_get_state(event.get()) != SD_EVENT_FINISHED; }

    void settle() {
        while ((isServing() && sd_event_run(event.get(), 0) > 0) ||
               sd_bus_process(far.get(), nullptr) > 0) {
        }
    }

    void advance(std::chrono::seconds time) {
        passed += time;
        settle();
    }

    Owned<sd_bus_message> callOf(const std::string& caller, const char* method) {
        auto call = made<sd_bus_message>([&](sd_bus_message** message) {
            return sd_bus_message_new_method_call(
                far.get(), message, "com.quoxelin.desktop.Helper", "/com/quoxelin/desktop/Helper",
                "com.quoxelin.desktop.HelperToolProtocol", method);
        });
        sd_bus_message_set_sender(call.get(), caller.c_str());
        return call;
    }

    /// The call's number, by which its outcome is found.
    std::uint64_t send(const Owned<sd_bus_message>& call) {
        std::uint64_t number = 0;
        EXPECT_GE(sd_bus_send(far.get(), call.get(), &number), 0);
        settle();
        return number;
    }

    std::uint64_t ask(const std::string& caller) {
        const auto call = callOf(caller, "RunGoTool");
        sd_bus_message_append(call.get(), "sas", "/nowhere/Contents/Resources/quoxelin", 1, "up");
        return send(call);
    }

    /// The bus reports that a connection has ended.
    void ends(const std::string& caller) {
        const auto signal = made<sd_bus_message>([&](sd_bus_message** message) {
            return sd_bus_message_new_signal(far.get(), message, "/org/freedesktop/DBus",
                                             "org.freedesktop.DBus", "NameOwnerChanged");
        });
        sd_bus_message_set_sender(signal.get(), "org.freedesktop.DBus");
        sd_bus_message_append(signal.get(), "sss", caller.c_str(), caller.c_str(), "");
        send(signal);
    }

    /// The answer to a new caller's request.
    std::string told(const std::string& path, const std::vector<std::string>& words) {
        return told(":2." + std::to_string(outcomes.size()), path, words);
    }

    std::string told(const std::string& caller, const std::string& path,
                     const std::vector<std::string>& words) {
        const auto call = callOf(caller, "RunGoTool");
        sd_bus_message_append_basic(call.get(), 's', path.c_str());
        sd_bus_message_open_container(call.get(), 'a', "s");
        for (const auto& word : words)
            sd_bus_message_append_basic(call.get(), 's', word.c_str());
        sd_bus_message_close_container(call.get());
        return reasons[send(call)];
    }

    static int arrived(sd_bus_message* message, void* self, sd_bus_error*) {
        return static_cast<HelperService*>(self)->take(message);
    }

    int take(sd_bus_message* message) {
        std::uint64_t number = 0;
        if (sd_bus_message_get_reply_cookie(message, &number) >= 0) {
            const auto* error = sd_bus_message_get_error(message);
            outcomes[number] = error == nullptr ? "replied" : error->name;
            reasons[number] = error == nullptr ? "" : error->message;
            return 1;
        }
        const std::string member = sd_bus_message_get_member(message);
        asked.push_back(member);
        if (silent.contains(member))
            lost.emplace_back(sd_bus_message_ref(message));
        else
            answer(message);
        return 1;
    }

    void answer(sd_bus_message* question) {
        const std::string member = sd_bus_message_get_member(question);
        if (member == "CheckAuthorization")
            sd_bus_reply_method_return(question, "(bba{ss})", 1, 0, 0);
        else if (member == "Hello")
            sd_bus_reply_method_return(question, "s", ":1.1");
        else if (member == "GetConnectionUnixUser")
            sd_bus_reply_method_return(question, "u", 1000);
        else if (member == "RequestName" || member == "ReleaseName")
            sd_bus_reply_method_return(question, "u", 1);
        else
            sd_bus_reply_method_return(question, "");
    }

    static constexpr const char* refused = SD_BUS_ERROR_ACCESS_DENIED;
    /// polkit has allowed it, and there is no such program.
    static constexpr const char* allowed = SD_BUS_ERROR_FAILED;

    /// Questions that get no answer.
    std::set<std::string> silent;
    std::vector<Owned<sd_bus_message>> lost;
    std::vector<std::string> asked;
    std::map<std::uint64_t, std::string> outcomes;
    std::map<std::uint64_t, std::string> reasons;
    std::vector<std::string> log;
    Owned<sd_event> event = made<sd_event>(&sd_event_new);
    Owned<sd_bus> bus = made<sd_bus>(&sd_bus_new);
    Owned<sd_bus> far = made<sd_bus>(&sd_bus_new);
    Service service{event.get(), bus.get(), bus.get(), "/nowhere",
                    [this](const std::string& line) { log.push_back(line); }};
};

TEST_F(HelperService, endsAfterAMinuteWithoutCalls) {
    EXPECT_THAT(asked, Contains("RequestName"));
    advance(std::chrono::seconds(59));
    const auto ping = send(callOf(":1.5", "Ping"));
    EXPECT_EQ(outcomes[ping], "replied");
    advance(std::chrono::seconds(59));
    EXPECT_THAT(asked, Not(Contains("ReleaseName")));
    advance(std::chrono::seconds(2));
    EXPECT_THAT(asked, Contains("ReleaseName"));
    EXPECT_FALSE(isServing());
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
    EXPECT_FALSE(outcomes.contains(call));
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
    advance(std::chrono::seconds(2));
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
    advance(std::chrono::seconds(2));
    EXPECT_EQ(outcomes[first], refused);
    EXPECT_EQ(outcomes[second], refused);
    EXPECT_EQ(outcomes[third], allowed) << "it waited for a turn of the same user";
    EXPECT_THAT(asked, Contains("CancelCheckAuthorization").Times(2));
    EXPECT_THAT(log, Contains(HasSubstr("polkit did not answer: ")));
    // An answer that comes too late changes nothing.
    answer(lost.at(0).get());
    settle();
    EXPECT_EQ(outcomes[first], refused);
}

} // namespace
} // namespace quoxelin::helper
