#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::helper {

// Which command lines may be run at all. A request is compared with the few command lines that the
// application sends; everything else is refused.

enum class Program { daemon, tool };

using Arguments = std::vector<std::string>;

/// The limits of a request, in bytes, checked before anything looks at what it says.
inline constexpr std::size_t longestPath = 4096;
inline constexpr std::size_t longestArgument = 1024;
inline constexpr std::size_t mostArguments = 5;

/// The servers that the installed bundle names; an empty one is left to the daemon.
struct Hosts {
    std::string conductor;
    std::string signal;
};
/// The hosts in the text of an Info.plist; none when it is broken.
std::optional<Hosts> hostsIn(std::string_view informationPropertyList);

/// "quoxelind" or "quoxelin".
std::string nameOf(Program program);

/// The path of a program within the bundle.
std::string pathOf(const std::string& bundleRoot, Program program);

/// The program that `path` names. The text has to be one of the two, byte by byte: another path to
/// the same file is refused.
std::optional<Program> programAt(const std::string& bundleRoot, std::string_view path);

/// Whether the arguments start the daemon, which takes the bundle's hosts.
bool startsDaemon(Program program, const Arguments& arguments);

/// Whether the application runs the program with these arguments.
///
/// The daemon: "--help", or "up" with "--conductor-host HOST" and "--signal-host HOST", in this
/// order, for each host that the bundle names. The tool: "up", "down", "login -json=true" or
/// "status -json=true".
bool isAllowed(Program program, const Arguments& arguments, const Hosts& hosts);

} // namespace quoxelin::helper
