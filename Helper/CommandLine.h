#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::helper {

// The command lines that may be run: the few that the application sends. Everything else is
// refused.

enum class Program { daemon, tool };

using Arguments = std::vector<std::string>;

/// The limits of a request, in bytes. Checked before anything else.
inline constexpr std::size_t longestPath = 4096;
inline constexpr std::size_t longestArgument = 1024;
inline constexpr std::size_t mostArguments = 5;

/// The servers named in the installed bundle. If one is empty, the daemon chooses it.
struct Hosts {
    std::string conductor;
    std::string signal;
};
/// The hosts in the text of an Info.plist; empty if it is malformed.
std::optional<Hosts> hostsIn(std::string_view informationPropertyList);

/// "quoxelind" or "quoxelin".
std::string nameOf(Program program);

/// The path of a program in the bundle.
std::string pathOf(const std::string& bundleRoot, Program program);

/// The program at `path`, which must be one of the two exact paths. Other paths to the same file
/// are refused.
std::optional<Program> programAt(const std::string& bundleRoot, std::string_view path);

/// Whether the arguments start the daemon, which needs the bundle's hosts.
bool startsDaemon(Program program, const Arguments& arguments);

/// Whether the application uses the program with these arguments.
///
/// The daemon: "--help", or "up" with "--conductor-host HOST" and "--signal-host HOST", in this
/// order, for each host that the bundle names. The tool: "up", "down", "login -json=true" or
/// "status -json=true".
bool isAllowed(Program program, const Arguments& arguments, const Hosts& hosts);

} // namespace quoxelin::helper
