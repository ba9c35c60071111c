#include "Helper/Bus.h"

#include "Helper/Text.h"

#include <cstring>

namespace quoxelin::helper {

namespace {

using std::chrono::seconds;

/// The bus normally answers in milliseconds.
constexpr seconds patienceWithTheBus{10};
/// The user may need time to find a password or an administrator.
constexpr seconds patienceWithPeople{300};

struct Method {
    const char* service;
    const char* path;
    const char* interface;
    const char* name;
};

constexpr Method getUser = {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "GetConnectionUnixUser"};

constexpr Method polkit(const char* name) {
    return {"org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
            "org.freedesktop.PolicyKit1.Authority", name};
}

Owned<sd_bus_message> callOf(sd_bus* bus, const Method& method) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus, &message, method.service, method.path, method.interface,
                                   method.name);
    return Owned<sd_bus_message>(message);
}

class Pending {
  public:
    /// Receives the reply, or null and the reason.
    using Answer = std::function<void(sd_bus_message* reply, const std::string& why)>;

    explicit Pending(Answer answer) : answer(std::move(answer)) {}

    void send(sd_bus* bus, sd_bus_message* call, seconds patience) {
        sd_bus_slot* sent = nullptr;
        const int outcome =
            call == nullptr ? -ENOMEM
                            : sd_bus_call_async(bus, &sent, call, &Pending::replied, this,
                                                static_cast<std::uint64_t>(
                                                    std::chrono::microseconds(patience).count()));
        slot.reset(sent);
        if (outcome < 0)
            std::exchange(answer, nullptr)(nullptr, std::strerror(-outcome));
    }

  private:
    /// The answer may destroy this object.
    static int replied(sd_bus_message* reply, void* self, sd_bus_error*) {
        const auto answer = std::exchange(static_cast<Pending*>(self)->answer, nullptr);
        const auto* error = sd_bus_message_get_error(reply);
        if (error == nullptr)
            answer(reply, "");
        else
            answer(nullptr, error->message == nullptr ? error->name : error->message);
        return 0;
    }

    Answer answer;
    Owned<sd_bus_slot> slot;
};

/// A question to polkit. The destructor cancels it if it is unanswered.
class Consent {
  public:
    Consent(sd_bus* bus, std::function<void(bool)> answer,
            std::function<void(const std::string&)> log)
        : bus(bus), pending([this, answer = std::move(answer),
                             log = std::move(log)](sd_bus_message* reply, const std::string& why) {
              int isAuthorized = 0;
              isAnswered = reply != nullptr;
              if (!isAnswered)
                  log("polkit did not answer: " + forLog(why));
              else if (sd_bus_message_enter_container(reply, 'r', "bba{ss}") < 0 ||
                       sd_bus_message_read(reply, "b", &isAuthorized) < 0)
                  isAuthorized = 0;
              answer(isAuthorized != 0);
          }) {}

    ~Consent() {
        if (isAnswered)
            return;
        const auto call = callOf(bus, polkit("CancelCheckAuthorization"));
        if (call && sd_bus_message_append(call.get(), "s", name.c_str()) >= 0 &&
            sd_bus_message_set_auto_start(call.get(), 0) >= 0 &&
            sd_bus_message_set_expect_reply(call.get(), 0) >= 0)
            sd_bus_send(bus, call.get(), nullptr);
    }
    Consent(const Consent&) = delete;
    Consent& operator=(const Consent&) = delete;

    /// Identifies the caller by its unique bus name, which the bus guarantees and never reuses.
    void ask(const Requests::Question& question) {
        constexpr std::uint32_t allowUserInteraction = 1;
        auto call = callOf(bus, polkit("CheckAuthorization"));
        if (call &&
            sd_bus_message_append(call.get(), "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s",
                                  question.caller.c_str(), "com.quoxelin.desktop.helper.run", 2,
                                  "program", question.program.c_str(), "command",
                                  question.command.c_str(), allowUserInteraction, name.c_str()) < 0)
            call.reset();
        pending.send(bus, call.get(), patienceWithPeople);
    }

  private:
    static std::string nextName() {
        static unsigned long questions = 0;
        return "quoxelin-helper-" + std::to_string(++questions);
    }

    sd_bus* const bus;
    const std::string name = nextName();
    bool isAnswered = false;
    Pending pending;
};

} // namespace

std::shared_ptr<void> identify(sd_bus* bus, const std::string& caller,
                               std::function<void(std::optional<uid_t>)> answer) {
    auto pending = std::make_shared<Pending>(
        [answer = std::move(answer)](sd_bus_message* reply, const std::string&) {
            std::uint32_t user = 0;
            const bool isKnown = reply != nullptr && sd_bus_message_read(reply, "u", &user) > 0;
            answer(isKnown ? std::optional<uid_t>(user) : std::nullopt);
        });
    auto call = callOf(bus, getUser);
    if (call && sd_bus_message_append(call.get(), "s", caller.c_str()) < 0)
        call.reset();
    pending->send(bus, call.get(), patienceWithTheBus);
    return pending;
}

std::shared_ptr<void> authorize(sd_bus* bus, const Requests::Question& question,
                                std::function<void(bool)> answer,
                                std::function<void(const std::string&)> log) {
    auto consent = std::make_shared<Consent>(bus, std::move(answer), std::move(log));
    consent->ask(question);
    return consent;
}

} // namespace quoxelin::helper
