#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::helper {

// Which command lines may be run at all. Nothing here looks at the system: a text is compared with
// the few texts that the application sends, and everything else is refused.

enum class Program { daemon, tool };

/// What a request may measure, before anybody looks at what it says. In bytes.
inline constexpr std::size_t longestPath = 4096;
inline constexpr std::size_t longestArgument = 1024;
inline constexpr std::size_t mostArguments = 5;

/// The path of a program within the bundle.
std::string pathOf(const std::string& bundleRoot, Program program);

/// The program that `path` names. The text has to be one of the two, byte by byte: what merely
/// leads to the same file is refused.
std::optional<Program> programAt(const std::string& bundleRoot, std::string_view path);

/// Whether the application runs the program with these arguments.
///
/// The daemon: "--help", or "up" and then "--conductor-host HOST" and "--signal-host HOST", each of
/// which may be missing, in this order. The tool: "up", "down", "login -json=true" or "status
/// -json=true".
bool isAllowed(Program program, const std::vector<std::string>& arguments);

/// Whether the text can name the host of a server, possibly as a URL, and can be nothing else: it
/// is not empty, does not begin like an option and consists of the characters of a URL.
bool isHost(std::string_view text);

} // namespace quoxelin::helper
