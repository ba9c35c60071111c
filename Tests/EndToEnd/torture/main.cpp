// Drives the daemon's two clients and the helper's file checks against a daemon in another process
// that misbehaves, while system calls and allocations fail. Prints what it counted; ends with exit
// code 1 and the reason if anything was not as it must be.
#include "Base/UnixSocket.h"
#include "Helper/TrustedFile.h"
#include "Simulation/System/SimulatedSystemLog.h"
#include "Tests/EndToEnd/torture/FailingCalls.h"
#include "Tests/Support/InlineLink.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <csignal>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quoxelin::testing {
namespace {

/// What the daemon does with the next connections.
struct Plan {
    std::size_t closesAfter = SIZE_MAX;
    std::size_t piece = SIZE_MAX;
    bool neverEnds = false;
    std::size_t notifications = 2;
};

const std::string reply = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n"
                          R"({"backend_state":"Running","current_profile_id":"a",)"
                          R"("profiles":[{"id":"a","name":"n","is_current":true}],)"
                          R"("interactive_login_url":"https://login.example.com/a"})";
constexpr std::string_view notification = "{\"State\":4,\"Version\":\"a longer version 1.2.3\"}\n";

void check(bool holds, const std::string& what) {
    if (holds)
        return;
    fmt::print(stderr, "{}\n", what);
    std::exit(1);
}

/// Sends at most `closesAfter` bytes; false once the client has gone.
bool sendTo(int client, std::string_view bytes, const Plan& plan, std::size_t& sent) {
    while (!bytes.empty()) {
        const auto size = std::min({bytes.size(), plan.piece, plan.closesAfter - sent});
        const auto count = size == 0 ? -1 : ::send(client, bytes.data(), size, MSG_NOSIGNAL);
        if (count < 0)
            return false;
        sent += static_cast<std::size_t>(count);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

[[noreturn]] void beTheDaemon(int listener, const Plan& plan) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        const int client = ::accept(listener, nullptr, nullptr);
        std::array<char, 4096> request{};
        const auto count = ::read(client, request.data(), request.size());
        const std::string_view text(request.data(), count > 0 ? static_cast<size_t>(count) : 0);
        std::size_t sent = 0;
        if (text.find("observe-hashi-bus") == text.npos) {
            while (sendTo(client, reply, plan, sent) && plan.neverEnds) {
            }
        } else if (sendTo(client, "HTTP/1.1 200 OK\r\n\r\n", plan, sent)) {
            std::size_t left = plan.notifications;
            while (left-- > 0 && sendTo(client, notification, plan, sent)) {
            }
        }
        ::close(client);
    }
}

class Link {
  public:
    Link() {
        ::sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
        const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        check(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                  ::listen(listener, 8) == 0,
              "the daemon cannot listen");
        daemon = ::fork();
        if (daemon == 0)
            beTheDaemon(listener, plan);
        ::close(listener);
        std::ofstream(folder.path() / "trusted") << "text";
        ::chmod((folder.path() / "trusted").c_str(), 0600);
        files.temporary = folder.path();
    }
    ~Link() { ::kill(daemon, SIGKILL); }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    std::vector<std::string> requests() {
        std::vector<std::string> outcomes;
        const auto note = [&](const auto& outcome) {
            outcomes.push_back(outcome ? "succeeded" : outcome.error().errorDescription());
        };
        LocalAPIClient api({dispatch, connector, logger}, socketPath);
        api.getStatus(note);
        api.getProfiles(note);
        api.setWantRunning(true, note);
        api.startLogin(note);
        return outcomes;
    }

    /// Follows that many streams and returns how many notifications came.
    std::size_t follow(std::size_t streams) {
        struct Counter final : HashiBusClientDelegate {
            void hashiBusDidReceiveNotify(const HashiBusNotify&) override { ++count; }
            std::size_t count = 0;
        };
        const auto counter = std::make_shared<Counter>();
        const auto client = std::make_shared<HashiBusClient>(
            HashiBusClient::Dependencies{dispatch, connector, logger}, socketPath);
        client->delegate = counter;
        dispatch.onSleep = [&] {
            if (--streams == 0)
                client->stop();
        };
        client->start();
        dispatch.onSleep = [] {};
        return counter->count;
    }

    /// Everything once. How each part ended, without what cannot fail.
    std::vector<std::string> everything() {
        systemLog.clear();
        auto outcomes = requests();
        outcomes.push_back(follow(2) == 2 * plan.notifications ? "succeeded"
                                                               : "notifications missing");
        const auto client = std::make_shared<HashiBusClient>(
            HashiBusClient::Dependencies{dispatch, connector, logger}, socketPath);
        client->logout();
        outcomes.push_back(systemLog.last);
        const auto text = helper::readTrusted("/trusted", {::getuid(), folder.path()});
        outcomes.push_back(text ? "succeeded" : text.error());
        return outcomes;
    }

    Plan& plan = *new (::mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Plan;

  private:
    struct LastLine final : SystemLog {
        void log(const std::string& text) override { last = text; }
        void log(const std::string&, const std::string&, const std::string&) override {}
        void clear() { last.clear(); }
        std::string last;
    };

    const TemporaryDirectory folder;
    const std::string socketPath = folder.path() / "d";
    pid_t daemon = -1;
    InlineDispatch dispatch;
    UnixSocketConnector connector;
    SimulatedFileManager files;
    LastLine systemLog;
    AppLogger logger{{dispatch, files, systemLog}};
};

std::size_t entriesIn(const char* directory) {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(directory), {}));
}

struct Held {
    std::size_t descriptors = entriesIn("/proc/self/fd"), threads = entriesIn("/proc/self/task"),
                blocks = failing::blocksInUse();
    bool operator==(const Held&) const = default;
};

void checkNothingLeft(const Held& before, const std::string& after) {
    const Held now;
    check(now == before,
          fmt::format("after {}: {} descriptors, {} threads, {} blocks; before: {}, {}, {}", after,
                      now.descriptors, now.threads, now.blocks, before.descriptors, before.threads,
                      before.blocks));
}

/// Everything, with each call of the function failing once. What ends otherwise than usual must end
/// with one of the errors.
void failEachCall(Link& link, const std::string& function, const std::vector<std::string>& errors) {
    const auto healthy = link.everything();
    failing::choose(function, 0);
    link.everything();
    const auto calls = failing::stop();
    check(calls > 0, "never called: " + function);
    std::size_t failures = 0, unharmed = 0, thrown = 0;
    const Held before;
    for (std::size_t number = 1; number <= calls; ++number) {
        failing::choose(function, number);
        std::vector<std::string> outcomes;
        try {
            outcomes = link.everything();
            failing::stop();
        } catch (const std::bad_alloc&) {
            failing::stop();
            ++thrown;
            continue;
        }
        const auto what = fmt::format("{} number {}", function, number);
        check(outcomes.size() == healthy.size(), what + " is not reported once");
        std::size_t differing = 0;
        for (std::size_t index = 0; index < healthy.size(); ++index) {
            if (outcomes[index] == healthy[index])
                continue;
            ++differing;
            check(std::any_of(errors.begin(), errors.end(),
                              [&](const auto& error) { return outcomes[index].ends_with(error); }),
                  what + ": " + outcomes[index]);
        }
        check(differing <= 1, what + " has several effects");
        (differing == 1 ? failures : unharmed) += 1;
    }
    checkNothingLeft(before, function);
    fmt::print("{}: {} calls failed; {} reported, {} without effect, {} thrown to the caller\n",
               function, calls, failures, unharmed, thrown);
}

void failCalls(Link& link) {
    const std::string why = "No buffer space available", lost = "notifications missing";
    const std::string noSocket = "Logout failed: Could not open socket";
    failEachCall(link, "socket", {"Failed to create unix domain socket", lost, noSocket});
    failEachCall(link, "connect",
                 {"Failed to connect to quoxelind socket: " + why, lost, noSocket});
    failEachCall(link, "send", {"Failed to write request: " + why, lost, "write failed: " + why});
    failEachCall(link, "read",
                 {"Failed to read response: " + why, lost, "/trusted " + why,
                  "Logout response empty or error"});
    failEachCall(link, "close", {});
    failEachCall(link, "open", {why});
    failEachCall(link, "fstat", {why});
    failEachCall(link, "malloc",
                 {"Failed to read response: Cannot allocate memory", lost,
                  "Failed to decode LocalAPI JSON response"});
}

void breakReplies(Link& link) {
    const auto healthy = link.requests();
    const Held before;
    for (link.plan.closesAfter = 0; link.plan.closesAfter < reply.size(); ++link.plan.closesAfter) {
        const auto outcomes = link.requests();
        check(outcomes.size() == healthy.size(), "a cut reply is not reported once");
        for (const std::size_t decoded : {0, 1, 3})
            check(outcomes[decoded] != "succeeded", "a cut reply is taken for a whole one");
        link.follow(2);
    }
    link.plan.closesAfter = SIZE_MAX;
    fmt::print("{} places where the daemon closes\n", reply.size());
    link.plan.piece = 1;
    check(link.requests() == healthy, "a reply byte by byte is not understood");
    link.plan.piece = SIZE_MAX;
    link.plan.neverEnds = true;
    check(link.requests().size() == healthy.size(), "an endless reply is not reported once");
    link.plan.neverEnds = false;
    check(link.requests() == healthy, "the link does not recover");
    checkNothingLeft(before, "broken replies");
}

void lastLong(Link& link) {
    link.follow(2);
    const Held before;
    constexpr std::size_t restarts = 1'000, secondsOfADay = 86'400;
    check(link.follow(restarts) == restarts * link.plan.notifications, "a restart loses something");
    link.plan.notifications = secondsOfADay;
    check(link.follow(1) == secondsOfADay, "a long stream loses something");
    link.plan.notifications = 2;
    checkNothingLeft(before, "restarts");
    fmt::print("{} restarts, a stream of {} notifications\n", restarts, secondsOfADay);
    fmt::print("before and after: {} descriptors, {} threads, {} blocks of memory\n",
               before.descriptors, before.threads, before.blocks);
}

} // namespace
} // namespace quoxelin::testing

int main() {
    using namespace quoxelin::testing;
    Link link;
    link.everything();
    failCalls(link);
    breakReplies(link);
    lastLong(link);
}
