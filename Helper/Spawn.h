#pragma once

#include "Helper/TrustedFile.h"

#include <vector>

namespace quoxelin::helper {

/// The maximum size of a program's output, in bytes. The rest is dropped.
inline constexpr std::size_t longestOutput = std::size_t{1024} * 1024;

struct Spawned {
    pid_t process = -1;
    FileDescriptor output;
};

/// Starts the executable under its own name, so that other programs can find it. `words` holds its
/// arguments, including argument 0.
///
/// The process inherits nothing: its environment is PATH and LANG, its directory "/", its standard
/// input empty. All other descriptors are closed, signals have their default actions, the file mode
/// mask is 022, and it leads a new session. Returns once the program runs or could not be run. Only
/// machine code is run, no scripts.
///
/// The output goes to a memory file, which needs no reader, so the program and its children can
/// outlive this process. Writes fail when the memory file is full.
tl::expected<Spawned, std::string> spawn(const TrustedFile& executable,
                                         const std::vector<std::string>& words);

/// The standard output and standard error so far, in the order written, as UTF-8.
std::string outputOf(const Spawned& spawned);

} // namespace quoxelin::helper
