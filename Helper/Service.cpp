#include "Helper/Service.h"

#include "Helper/Call.h"

#include <csignal>
#include <sys/wait.h>

namespace quoxelin::helper {

namespace {

constexpr const char* busName = "com.quoxelin.desktop.Helper";
constexpr const char* objectPath = "/com/quoxelin/desktop/Helper";
constexpr const char* interface = "com.quoxelin.desktop.HelperToolProtocol";
/// Every connection that ends.
constexpr const char* goneNames =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''";
constexpr std::size_t mostUnread = 4096;
constexpr std::uint64_t idleMicroseconds = 60'000'000;

const char* errorName(Refusal::Reason reason) {
    switch (reason) {
    case Refusal::Reason::invalidArguments:
        return SD_BUS_ERROR_INVALID_ARGS;
    case Refusal::Reason::notAuthorized:
        return SD_BUS_ERROR_ACCESS_DENIED;
    case Refusal::Reason::limitsExceeded:
        return SD_BUS_ERROR_LIMITS_EXCEEDED;
    case Refusal::Reason::failed:
        return SD_BUS_ERROR_FAILED;
    }
    return SD_BUS_ERROR_FAILED;
}

/// Replies when it is called.
Requests::Reply replyTo(sd_bus_message* call) {
    return [call = std::shared_ptr<sd_bus_message>(sd_bus_message_ref(call), Unref{})](
               const tl::expected<std::string, Refusal>& outcome) {
        if (outcome)
            sd_bus_reply_method_return(call.get(), "s", outcome->c_str());
        else
            sd_bus_reply_method_errorf(call.get(), errorName(outcome.error().reason), "%s",
                                       outcome.error().text.c_str());
    };
}

/// The same for a message of which nothing is kept meanwhile.
Requests::Reply refusalTo(sd_bus_message* call) {
    sd_bus_message* error = nullptr;
    sd_bus_message_new_method_errorf(call, &error, SD_BUS_ERROR_INVALID_ARGS, "%s",
                                     "The request is too large.");
    return [error = std::shared_ptr<sd_bus_message>(error, Unref{})](const auto&) {
        sd_bus_send(nullptr, error.get(), nullptr);
    };
}

std::string textOf(const siginfo_t& how) {
    return (how.si_code == CLD_EXITED ? "exit code " : "ended by signal ") +
           std::to_string(how.si_status);
}

} // namespace

struct Service::Run {
    Service& service;
    Spawned spawned;
    Requests::Finished finished;
    Owned<sd_event_source> end;
};

Service::Service(sd_event* event, sd_bus* calls, sd_bus* questions, std::string bundleRoot,
                 std::function<void(const std::string&)> write, const Trust& trust)
    : event(event), calls(calls), questions(questions),
      requests(dependencies(std::move(bundleRoot), std::move(write), trust)) {}

Service::~Service() = default;

Requests::Dependencies Service::dependencies(std::string bundleRoot,
                                             std::function<void(const std::string&)> write,
                                             const Trust& trust) {
    return {
        std::move(bundleRoot),
        [this](const std::string& caller, std::function<void(std::optional<uid_t>)> answer) {
            identities[caller] =
                identify(questions, caller, [this, caller, answer](std::optional<uid_t> user) {
                    const auto question = identities.extract(caller);
                    answer(user);
                });
        },
        [this, write](const Requests::Question& question, std::function<void(bool)> answer) {
            return authorize(questions, question, std::move(answer), write);
        },
        [trust](const std::string& path) { return readTrusted(path, trust); },
        [trust](const std::string& path) { return openTrusted(path, trust); },
        [this](const TrustedFile& executable, const Arguments& words, Requests::Finished finished) {
            return run(executable, words, std::move(finished));
        },
        write,
        &RefusalLog::Clock::now,
    };
}

int Service::begin() {
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD_WITH_NAMES("RunGoTool", "sas", SD_BUS_PARAM(path) SD_BUS_PARAM(arguments),
                                 "s", SD_BUS_PARAM(output), &Service::runGoTool,
                                 SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD_WITH_NAMES("Ping", "", , "b", SD_BUS_PARAM(isThere), &Service::ping,
                                 SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    // What the bus refuses of these ends the connection.
    int outcome = sd_bus_add_object_vtable(calls, nullptr, objectPath, interface, table, this);
    if (outcome >= 0)
        outcome = sd_bus_add_match_async(questions, nullptr, goneNames, &Service::nameHasGone,
                                         nullptr, this);
    if (outcome >= 0)
        outcome = sd_bus_request_name_async(calls, nullptr, busName, 0, nullptr, nullptr);
    waitForCalls();
    return outcome;
}

int Service::ping(sd_bus_message* call, void* self, sd_bus_error*) {
    static_cast<Service*>(self)->waitForCalls();
    return sd_bus_reply_method_return(call, "b", 1);
}

int Service::runGoTool(sd_bus_message* call, void* data, sd_bus_error*) {
    auto& self = *static_cast<Service*>(data);
    self.waitForCalls();
    const std::string caller = sd_bus_message_get_sender(call);
    if (!self.unread.contains(caller)) {
        if (const auto read = readCall(call)) {
            self.requests.runGoTool(caller, read->path, read->arguments, replyTo(call));
            return 1;
        }
        // The bus may lose the signal that a connection has ended.
        if (self.unread.size() == mostUnread)
            self.unread.clear();
        self.unread.insert(caller);
    }
    self.requests.refuseUnread(caller, refusalTo(call));
    return 1;
}

int Service::nameHasGone(sd_bus_message* signal, void* data, sd_bus_error*) {
    auto& self = *static_cast<Service*>(data);
    const char* name = nullptr;
    if (sd_bus_message_read_basic(signal, 's', &name) > 0 && name[0] == ':') {
        self.identities.erase(name);
        self.unread.erase(name);
        self.requests.callerHasGone(name);
    }
    return 0;
}

tl::expected<pid_t, std::string> Service::run(const TrustedFile& executable, const Arguments& words,
                                              Requests::Finished finished) {
    auto spawned = spawn(executable, words);
    if (!spawned)
        return tl::unexpected(spawned.error());
    auto& run = runs.emplace_back(Run{*this, std::move(*spawned), std::move(finished), nullptr});
    run.end = made<sd_event_source>([&](sd_event_source** source) {
        return sd_event_add_child(event, source, run.spawned.process, WEXITED,
                                  &Service::programEnded, &run);
    });
    if (run.end)
        return run.spawned.process;
    const pid_t process = run.spawned.process;
    runs.pop_back();
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
    return tl::unexpected(std::string("its end could not be waited for"));
}

int Service::programEnded(sd_event_source*, const siginfo_t* how, void* data) {
    auto& run = *static_cast<Run*>(data);
    auto& self = run.service;
    const auto finished = std::move(run.finished);
    auto output = outputOf(run.spawned);
    self.runs.remove_if([&](const Run& one) { return &one == &run; });
    finished(std::move(output), textOf(*how));
    self.waitForCalls();
    return 0;
}

void Service::waitForCalls() {
    if (idleTimer) {
        sd_event_source_set_time_relative(idleTimer.get(), idleMicroseconds);
        sd_event_source_set_enabled(idleTimer.get(), SD_EVENT_ONESHOT);
        return;
    }
    const auto isOver = [](sd_event_source*, std::uint64_t, void* self) {
        static_cast<Service*>(self)->leaveIfIdle();
        return 0;
    };
    idleTimer = made<sd_event_source>([&](sd_event_source** source) {
        return sd_event_add_time_relative(event, source, CLOCK_MONOTONIC, idleMicroseconds, 0,
                                          isOver, this);
    });
}

/// What the bus delivered while the name was still ours comes before its answer.
void Service::leaveIfIdle() {
    requests.writeCounts();
    waitForCalls();
    if (requests.isBusy())
        return;
    if (std::exchange(isLeaving, true)) {
        sd_event_exit(event, 0);
        return;
    }
    const auto released = [](sd_bus_message*, void* self, sd_bus_error*) {
        static_cast<Service*>(self)->leaveIfIdle();
        return 0;
    };
    sd_bus_release_name_async(calls, nullptr, busName, released, this);
}

} // namespace quoxelin::helper
