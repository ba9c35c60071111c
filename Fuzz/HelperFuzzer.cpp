// Whatever a caller sends, as whatever user, root runs nothing but the known command lines, replies
// once, and writes lines that the log can take. Fields are separated by a zero byte: the Info.plist
// of the bundle, the path, the arguments.
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Helper/Requests.h"
#include "Helper/Text.h"

#include <algorithm>

namespace quoxelin::helper {

namespace {

using fuzzing::require;

Arguments fieldsOf(std::string_view input) {
    Arguments fields;
    for (std::size_t end = 0; end != input.npos && fields.size() < 2 + mostArguments;) {
        end = input.find('\0');
        fields.emplace_back(input.substr(0, end));
        input.remove_prefix(end == input.npos ? input.size() : end + 1);
    }
    fields.resize(std::max<std::size_t>(fields.size(), 2));
    return fields;
}

void requireKnown(const Arguments& words, const std::string& list) {
    const auto program = programAt("/b", words.front());
    require(program.has_value());
    if (words.size() == 2 || *program == Program::tool)
        return require(words.size() <= 3 && words[1].size() <= 6);
    const auto hosts = hostsIn(list);
    require(hosts && words[1] == "up");
    for (std::size_t index = 2; index + 1 < words.size(); index += 2)
        require(words[index + 1] ==
                (words[index] == "--conductor-host" ? hosts->conductor : hosts->signal));
}

void requireLine(const std::string& line) {
    require(line.size() < 600);
    require(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; }));
}

void request(uid_t user, const std::string& list, const std::string& path,
             const Arguments& arguments) {
    int replies = 0;
    Requests requests(
        {"/b", [&](const auto&, const auto& answer) { answer(user); },
         [](const auto&, const auto& answer) {
             answer(true);
             return nullptr;
         },
         [&](const auto&) -> tl::expected<std::string, std::string> { return list; },
         [](const auto&) -> tl::expected<TrustedFile, std::string> { return TrustedFile(); },
         [&](const auto&, const Arguments& words,
             const Requests::Finished& finished) -> tl::expected<pid_t, std::string> {
             requireKnown(words, list);
             finished("", "exit code 0");
             return 1;
         },
         &requireLine, [] { return RefusalLog::Clock::time_point(); }});
    requests.runGoTool(":1.1", path, arguments, [&](const auto&) { ++replies; });
    require(replies == 1);
    require(!requests.isBusy());
}

} // namespace

} // namespace quoxelin::helper

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto input = fuzzing::text(data, size);
    const auto fields = helper::fieldsOf(input);
    const uid_t user = size % 2 == 0 ? 0 : 1000;
    helper::request(user, fields[0], fields[1], {fields.begin() + 2, fields.end()});
    fuzzing::require(isValidUtf8(helper::asUtf8(fields[1])));
    return 0;
}
