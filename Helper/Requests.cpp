#include "Helper/Requests.h"

#include "Helper/CommandLine.h"
#include "Helper/Text.h"

namespace quoxelin::helper {

struct Requests::Request {
    Caller caller;
    std::string path;
    std::vector<std::string> arguments;
    Reply reply;
    std::shared_ptr<void> slot;
};

Requests::Requests(Dependencies dependencies) : dependencies(std::move(dependencies)) {}

void Requests::runGoTool(const Caller& caller, const std::string& path,
                         const std::vector<std::string>& arguments, Reply reply) {
    using enum Refusal::Reason;
    const auto request =
        std::make_shared<Request>(Request{caller, path, arguments, std::move(reply), nullptr});
    const auto program = programAt(dependencies.bundleRoot, path);
    if (!program)
        return refuse(*request, invalidArguments, "Only the bundled programs are run.");
    if (!isAllowed(*program, arguments))
        return refuse(*request, invalidArguments, "The program is not run with these arguments.");
    request->slot = slots.take(caller.user);
    if (!request->slot)
        return refuse(*request, limitsExceeded, "Too many requests are going on.");
    dependencies.authorise(caller, [this, request](bool allowed) {
        if (allowed)
            authorised(request);
        else
            refuse(*request, notAuthorised, "Not authorised.");
    });
}

void Requests::authorised(const std::shared_ptr<Request>& request) {
    using enum Refusal::Reason;
    const auto executable = dependencies.open(request->path);
    if (!executable)
        return refuse(*request, failed, "The program is not as it was installed.",
                      executable.error());
    std::vector<std::string> words = {request->path};
    words.insert(words.end(), request->arguments.begin(), request->arguments.end());
    const auto started = dependencies.run(*executable, words, [request](std::string output) {
        request->slot.reset();
        request->reply(std::move(output));
    });
    if (!started)
        refuse(*request, failed, "The program could not be started.", started.error());
}

void Requests::refuse(Request& request, Refusal::Reason reason, const std::string& text,
                      const std::string& detail) {
    std::string line = "refused user " + std::to_string(request.caller.user) + " (" +
                       forLog(request.caller.busName) + "): " + text;
    if (!detail.empty())
        line += " " + forLog(detail);
    std::string asked = request.path;
    for (const auto& argument : request.arguments)
        asked += " " + argument;
    dependencies.log(line + " Asked for: " + forLog(asked));
    request.slot.reset();
    request.reply(tl::unexpected(Refusal{reason, text}));
}

} // namespace quoxelin::helper
