#include "Simulation/Daemon/Options.h"

#include <fmt/format.h>
#include <map>
#include <sstream>

namespace quoxelin::sim {

namespace {

constexpr const char* usage = R"(Usage: quoxelind-sim --socket PATH [OPTION...]

A simulated quoxelind. It serves the daemon's local API and notification stream on a Unix
socket, and a login page on a loopback port.

  --socket PATH         the Unix socket to serve; a stale one is replaced
  --peers N             peers in the network map (5)
  --logged-in           begin logged in and running
  --auto-login SECONDS  a login completes itself this long after it began
  --version, --help     print and exit

Standard input takes commands; docs/simulation.md lists them.
)";

/// Reads the whole text as a number from 0 to `highest`.
template <typename Number>
bool read(const std::string& text, Number& into, double highest) {
    std::istringstream stream(text);
    double number = -1;
    stream >> number;
    into = static_cast<Number>(number);
    return !stream.fail() && stream.peek() == EOF && number >= 0 && number <= highest;
}

PrintAndExit misuse(const std::string& what) {
    return {2, fmt::format("quoxelind-sim: {}\n{}", what, usage)};
}

} // namespace

std::variant<Options, PrintAndExit> readOptions(const std::vector<std::string>& arguments) {
    Options options;
    using Take = std::function<bool(const std::string& value)>;
    const std::map<std::string, Take> takes = {
        {"--socket",
         [&](const auto& value) {
             options.socketPath = value;
             return !value.empty();
         }},
        {"--peers", [&](const auto& value) { return read(value, options.model.peers, 1e6); }},
        {"--auto-login", [&](const auto& value) {
             double number = 0;
             const bool good = read(value, number, 86400);
             options.model.autoLogin = seconds(number);
             return good;
         }}};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto& name = arguments[i];
        if (name == "--help")
            return PrintAndExit{0, usage};
        if (name == "--version")
            return PrintAndExit{0, "quoxelind-sim " QUOXELIND_SIM_VERSION "\n"};
        if (name == "--logged-in") {
            options.model.loggedIn = true;
            continue;
        }
        const auto take = takes.find(name);
        if (take == takes.end())
            return misuse("unknown argument " + name);
        if (++i == arguments.size())
            return misuse(name + " needs a value");
        if (!take->second(arguments[i]))
            return misuse(fmt::format("{} cannot be \"{}\"", name, arguments[i]));
    }
    if (options.socketPath.empty())
        return misuse("--socket is missing");
    return options;
}

} // namespace quoxelin::sim
