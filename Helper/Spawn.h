#pragma once

#include "Helper/FileDescriptor.h"

#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>
#include <vector>

namespace quoxelin::helper {

struct Spawned {
    pid_t process = -1;
    /// What the process writes to its standard output and standard error; reading never blocks.
    FileDescriptor output;
};

/// Starts the opened executable, the very file that the descriptor refers to. `words` begins with
/// the name that it is to be called by.
///
/// The process gets nothing of ours: its environment is PATH and LANG, its directory "/", its
/// standard input empty; every other descriptor is closed, signals do what they do by default, the
/// file mode mask is 022, and it leads a session of its own. Returns when the program runs or could
/// not be run; only machine code is, no script.
tl::expected<Spawned, std::string> spawn(const FileDescriptor& executable,
                                         const std::vector<std::string>& words);

} // namespace quoxelin::helper
