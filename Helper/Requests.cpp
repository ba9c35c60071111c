#include "Helper/Requests.h"

#include "Helper/Text.h"

namespace quoxelin::helper {

using enum Refusal::Reason;

/// A small object: no member is larger than an allowed command line or a log line.
struct Requests::Request {
    std::string caller;
    Reply reply;
    std::string asked = {}; ///< for the log, if the request itself is refused
    Program program = Program::daemon;
    Arguments arguments = {};
    std::optional<Refusal> refusal = {};
    uid_t user = 0;
    bool isRunning = false;
    Turns::Turn turn = {};
    std::shared_ptr<void> question = {};

    std::string command() const {
        std::string words = nameOf(program);
        for (const auto& argument : arguments)
            words += " " + argument;
        return words;
    }

    std::string who() const { return "user " + std::to_string(user) + " (" + caller + ")"; }
};

Requests::Requests(Dependencies dependencies)
    : dependencies(std::move(dependencies)),
      refusals(this->dependencies.log, this->dependencies.now) {}

Requests::~Requests() {
    refusals.finish();
}

void Requests::runGoTool(const std::string& caller, const std::string& path,
                         const Arguments& arguments, Reply reply) {
    auto request = std::make_shared<Request>(Request{caller, std::move(reply)});
    request->refusal = check(path, arguments, *request);
    if (request->refusal) {
        request->asked = path;
        for (const auto& argument : arguments)
            request->asked += " " + argument;
        request->asked = forLog(request->asked);
    }
    arrive(std::move(request));
}

void Requests::refuseUnread(const std::string& caller, Reply reply) {
    auto request = std::make_shared<Request>(Request{caller, std::move(reply)});
    request->refusal = Refusal{invalidArguments, "The request is too large."};
    request->asked = "something long";
    arrive(std::move(request));
}

std::optional<Refusal> Requests::check(const std::string& path, const Arguments& arguments,
                                       Request& request) const {
    const auto program = programAt(dependencies.bundleRoot, path);
    if (!program)
        return Refusal{invalidArguments, "Only the bundled programs are run."};
    Hosts hosts;
    if (startsDaemon(*program, arguments)) {
        const auto list = dependencies.read(dependencies.bundleRoot + "/Contents/Info.plist");
        const auto named = list ? hostsIn(*list) : std::nullopt;
        if (!named)
            return Refusal{failed, "The bundle is not as it was installed.",
                           list ? "The property list is broken." : list.error()};
        hosts = *named;
    }
    if (!isAllowed(*program, arguments, hosts))
        return Refusal{invalidArguments, "The program is not run with these arguments."};
    request.program = *program;
    request.arguments = arguments;
    return std::nullopt;
}

void Requests::arrive(Shared request) {
    const auto caller = request->caller;
    if (const auto known = users.find(caller); known != users.end()) {
        request->user = known->second;
        return admit(request);
    }
    auto& own = arrivals[caller];
    if (own.requests.size() == mostArrivals) {
        ++own.turnedAway;
        return request->reply(
            tl::unexpected(Refusal{limitsExceeded, "Too many requests at once."}));
    }
    own.requests.push_back(std::move(request));
    if (own.requests.size() == 1)
        dependencies.identify(
            caller, [this, caller](std::optional<uid_t> user) { identified(caller, user); });
}

void Requests::identified(const std::string& caller, std::optional<uid_t> user) {
    const auto arrived = arrivals.extract(caller);
    if (arrived.empty())
        return;
    if (user)
        remember(caller, *user, arrived.mapped().turnedAway);
    for (const auto& request : arrived.mapped().requests) {
        if (user) {
            request->user = *user;
            admit(request);
        } else {
            request->reply(tl::unexpected(Refusal{notAuthorized, "Not authorized."}));
        }
    }
}

void Requests::remember(const std::string& caller, uid_t user, unsigned long turnedAway) {
    // Limited, because the bus may lose the signal that a connection has ended. Names are never
    // reused.
    if (users.size() == mostUsers)
        users.clear();
    users[caller] = user;
    if (turnedAway > 0)
        refusals.count(user, turnedAway);
}

void Requests::admit(const Shared& request) {
    if (request->refusal)
        return refuse(request, *request->refusal);
    requests.insert(request);
    const auto begin = [this, waiting = std::weak_ptr(request)](Turns::Turn turn) {
        if (const auto request = waiting.lock())
            ask(request, std::move(turn));
    };
    if (!questions.take(request->user, begin))
        refuse(request, {limitsExceeded, "Too many requests at once."});
}

void Requests::ask(const Shared& request, Turns::Turn turn) {
    request->turn = std::move(turn);
    const auto answer = [this, asked = std::weak_ptr(request)](bool isAuthorized) {
        if (const auto request = asked.lock())
            answered(request, isAuthorized);
    };
    request->question = dependencies.authorize(
        {request->caller, nameOf(request->program), request->command()}, answer);
}

void Requests::answered(const Shared& request, bool isAuthorized) {
    request->turn.reset();
    if (!isAuthorized)
        return refuse(request, {notAuthorized, "Not authorized."});
    const auto begin = [this, waiting = std::weak_ptr(request)](Turns::Turn turn) {
        if (const auto request = waiting.lock())
            start(request, std::move(turn));
    };
    if (!programs.take(request->user, begin))
        refuse(request, {limitsExceeded, "Too many programs run."});
}

void Requests::start(const Shared& request, Turns::Turn turn) {
    const auto path = pathOf(dependencies.bundleRoot, request->program);
    const auto executable = dependencies.open(path);
    if (!executable)
        return refuse(request,
                      {failed, "The program is not as it was installed.", executable.error()});
    Arguments words = {path};
    words.insert(words.end(), request->arguments.begin(), request->arguments.end());
    request->turn = std::move(turn);
    const auto ended = [this, request](std::string output, const std::string& how) {
        dependencies.log(request->who() + " ran " + forLog(request->command()) + ": " + how);
        forget(request);
        request->reply(std::move(output));
    };
    const auto process = dependencies.run(*executable, words, ended);
    if (!process)
        return refuse(request, {failed, "The program could not be started.", process.error()});
    request->isRunning = true;
    dependencies.log(request->who() + " runs " + forLog(request->command()) + ": process " +
                     std::to_string(*process));
}

void Requests::callerHasGone(const std::string& caller) {
    users.erase(caller);
    arrivals.erase(caller);
    // Keep the turns until all of this caller's requests are removed: ending one starts the next.
    std::vector<Turns::Turn> turns;
    std::erase_if(requests, [&](const auto& one) {
        const bool goes = one->caller == caller && !one->isRunning;
        if (goes)
            turns.push_back(std::move(one->turn));
        return goes;
    });
}

void Requests::refuse(const Shared& request, const Refusal& refusal) {
    refusals(request->user, [&] {
        std::string line = "refused " + request->who() + ": " + refusal.text;
        if (!refusal.detail.empty())
            line += " " + forLog(refusal.detail);
        return line + " Asked for: " + (request->refusal ? request->asked : request->command());
    });
    const auto outcome = refusal;
    forget(request);
    request->reply(tl::unexpected(outcome));
}

/// Releases the request's question and turn.
void Requests::forget(const Shared& request) {
    requests.erase(request);
    request->question.reset();
    request->turn.reset();
}

} // namespace quoxelin::helper
