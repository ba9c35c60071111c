#pragma once

#include "Helper/TrustedFile.h"

#include <vector>

namespace quoxelin::helper {

/// More than this of a program's output, in bytes, is not kept.
inline constexpr std::size_t longestOutput = std::size_t{1024} * 1024;

struct Spawned {
    pid_t process = -1;
    FileDescriptor output;
};

/// Starts the executable under its own name, by which other programs can find it. `words` begins
/// with the path that it is to be called by.
///
/// The process gets nothing of ours: its environment is PATH and LANG, its directory "/", its
/// standard input empty; every other descriptor is closed, signals do what they do by default, the
/// file mode mask is 022, and it leads a new session. Returns when the program runs or could
/// not be run. Scripts are not run, only machine code.
///
/// It writes to its own memory file, which needs no reader: neither it nor what it leaves behind
/// needs this process to go on. Where the memory is full, writing fails.
tl::expected<Spawned, std::string> spawn(const TrustedFile& executable,
                                         const std::vector<std::string>& words);

/// What was written up to now to standard output and standard error, in the order in which it was
/// written, as UTF-8.
std::string outputOf(const Spawned& spawned);

} // namespace quoxelin::helper
