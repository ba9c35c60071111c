#include "Helper/CommandLine.h"

#include <algorithm>
#include <array>

namespace quoxelin::helper {

namespace {

using Arguments = std::vector<std::string>;

/// Letters and digits of ASCII, whatever the locale.
bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isAllowedForDaemon(const Arguments& arguments) {
    if (arguments == Arguments{"--help"})
        return true;
    if (arguments.empty() || arguments.front() != "up")
        return false;
    auto rest = arguments.begin() + 1;
    for (const auto* flag : {"--conductor-host", "--signal-host"}) {
        if (arguments.end() - rest >= 2 && *rest == flag && isHost(*(rest + 1)))
            rest += 2;
    }
    return rest == arguments.end();
}

bool isAllowedForTool(const Arguments& arguments) {
    static const std::array<Arguments, 4> allowed = {
        {{"up"}, {"down"}, {"login", "-json=true"}, {"status", "-json=true"}}};
    return std::find(allowed.begin(), allowed.end(), arguments) != allowed.end();
}

} // namespace

std::string pathOf(const std::string& bundleRoot, Program program) {
    const std::string resources = bundleRoot + "/Contents/Resources/";
    switch (program) {
    case Program::daemon:
        return resources + "quoxelind";
    case Program::tool:
        return resources + "quoxelin";
    }
    return {};
}

std::optional<Program> programAt(const std::string& bundleRoot, std::string_view path) {
    for (const auto program : {Program::daemon, Program::tool})
        if (path == pathOf(bundleRoot, program))
            return program;
    return std::nullopt;
}

bool isAllowed(Program program, const Arguments& arguments) {
    switch (program) {
    case Program::daemon:
        return isAllowedForDaemon(arguments);
    case Program::tool:
        return isAllowedForTool(arguments);
    }
    return false;
}

bool isHost(std::string_view text) {
    constexpr std::string_view marks = "-._~:/?#[]@%&=+,";
    if (text.empty() || text.size() > longestArgument)
        return false;
    if (!isPlain(text.front()) && text.front() != '[')
        return false;
    return std::all_of(text.begin(), text.end(),
                       [&](char c) { return isPlain(c) || marks.find(c) != marks.npos; });
}

} // namespace quoxelin::helper
