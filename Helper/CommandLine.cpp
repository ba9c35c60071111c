#include "Helper/CommandLine.h"

#include "Base/PropertyList.h"

#include <algorithm>
#include <array>

namespace quoxelin::helper {

namespace {

Arguments argumentsForUp(const Hosts& hosts) {
    Arguments arguments = {"up"};
    if (!hosts.conductor.empty())
        arguments.insert(arguments.end(), {"--conductor-host", hosts.conductor});
    if (!hosts.signal.empty())
        arguments.insert(arguments.end(), {"--signal-host", hosts.signal});
    return arguments;
}

bool isAllowedForTool(const Arguments& arguments) {
    static const std::array<Arguments, 4> allowed = {
        {{"up"}, {"down"}, {"login", "-json=true"}, {"status", "-json=true"}}};
    return std::find(allowed.begin(), allowed.end(), arguments) != allowed.end();
}

} // namespace

std::optional<Hosts> hostsIn(std::string_view informationPropertyList) {
    auto strings = stringsOfPropertyList(informationPropertyList);
    if (!strings)
        return std::nullopt;
    return Hosts{(*strings)["QXConductorURL"], (*strings)["QXSignalURL"]};
}

std::string nameOf(Program program) {
    switch (program) {
    case Program::daemon:
        return "quoxelind";
    case Program::tool:
        return "quoxelin";
    }
    return {};
}

std::string pathOf(const std::string& bundleRoot, Program program) {
    return bundleRoot + "/Contents/Resources/" + nameOf(program);
}

std::optional<Program> programAt(const std::string& bundleRoot, std::string_view path) {
    for (const auto program : {Program::daemon, Program::tool})
        if (path == pathOf(bundleRoot, program))
            return program;
    return std::nullopt;
}

bool startsDaemon(Program program, const Arguments& arguments) {
    return program == Program::daemon && !arguments.empty() && arguments.front() == "up";
}

bool isAllowed(Program program, const Arguments& arguments, const Hosts& hosts) {
    switch (program) {
    case Program::daemon:
        return arguments == Arguments{"--help"} || arguments == argumentsForUp(hosts);
    case Program::tool:
        return isAllowedForTool(arguments);
    }
    return false;
}

} // namespace quoxelin::helper
