#pragma once

#include "Helper/Service.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace quoxelin::helper {

/// The helper on a bus, whose other end plays the bus, polkit and the callers.
class HelperService : public ::testing::Test {
  public:
    /// How much later it is for this program than it really is.
    static inline std::chrono::seconds passed{0};

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

    std::uint64_t ask(const std::string& caller, const std::string& path = tool,
                      const std::vector<std::string>& words = {"up"}) {
        const auto call = callOf(caller, "RunGoTool");
        sd_bus_message_append_basic(call.get(), 's', path.c_str());
        sd_bus_message_open_container(call.get(), 'a', "s");
        for (const auto& word : words)
            sd_bus_message_append_basic(call.get(), 's', word.c_str());
        sd_bus_message_close_container(call.get());
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
        return said[ask(caller, path, words)];
    }

    static int arrived(sd_bus_message* message, void* self, sd_bus_error*) {
        return static_cast<HelperService*>(self)->take(message);
    }

    int take(sd_bus_message* message) {
        std::uint64_t number = 0;
        if (sd_bus_message_get_reply_cookie(message, &number) >= 0) {
            const auto* error = sd_bus_message_get_error(message);
            outcomes[number] = error == nullptr ? "replied" : error->name;
            const char* text = error == nullptr ? "" : error->message;
            int truth = 0;
            if (error == nullptr && sd_bus_message_read(message, "b", &truth) > 0)
                text = truth != 0 ? "true" : "false";
            else if (error == nullptr)
                sd_bus_message_read(message, "s", &text);
            said[number] = text;
            return 1;
        }
        const std::string member = sd_bus_message_get_member(message);
        asked.push_back(member);
        last[member].reset(sd_bus_message_ref(message));
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
        else if (member == "GetConnectionUnixUser" && text(question).starts_with(':'))
            sd_bus_reply_method_return(question, "u", 1000);
        else if (member == "RequestName" || member == "ReleaseName")
            sd_bus_reply_method_return(question, "u", 1);
        else
            sd_bus_reply_method_return(question, "");
    }

    /// The first argument of a message.
    static std::string text(sd_bus_message* message) {
        const char* found = "";
        sd_bus_message_rewind(message, 1);
        sd_bus_message_read_basic(message, 's', &found);
        return found;
    }

    inline static const std::string tool = pathOf("/nowhere", Program::tool);
    inline static const std::string daemon = pathOf("/nowhere", Program::daemon);
    static constexpr const char* refused = SD_BUS_ERROR_ACCESS_DENIED;
    /// The outcome of a call that polkit has allowed, for a program that does not exist.
    static constexpr const char* allowed = SD_BUS_ERROR_FAILED;

    /// Questions that get no answer.
    std::set<std::string> silent;
    std::vector<Owned<sd_bus_message>> lost;
    std::vector<std::string> asked;
    std::map<std::uint64_t, std::string> outcomes;
    /// The last question of each name.
    std::map<std::string, Owned<sd_bus_message>> last;
    /// The texts of the replies and of the errors.
    std::map<std::uint64_t, std::string> said;
    std::vector<std::string> log;
    quoxelin::testing::TemporaryDirectory root;
    Owned<sd_event> event = made<sd_event>(&sd_event_new);
    Owned<sd_bus> bus = made<sd_bus>(&sd_bus_new);
    Owned<sd_bus> far = made<sd_bus>(&sd_bus_new);
    Service service{event.get(),
                    bus.get(),
                    bus.get(),
                    "/nowhere",
                    [this](const std::string& line) { log.push_back(line); },
                    Trust{::geteuid(), root.path().string()}};
};

} // namespace quoxelin::helper
