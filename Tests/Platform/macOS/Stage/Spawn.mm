#include <map>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

#include "Tests/Platform/macOS/Stage/StageSpawn.h"

#undef posix_spawn
#undef posix_spawnattr_setflags

namespace {

constexpr short foreignFlags = POSIX_SPAWN_START_SUSPENDED | POSIX_SPAWN_CLOEXEC_DEFAULT;

std::mutex lock;
std::map<pid_t, std::string> programs;

} // namespace

namespace quoxelin::stage {

std::string programOf(pid_t process) {
    const std::lock_guard guard(lock);
    const auto found = programs.find(process);
    return found == programs.end() ? "" : found->second;
}

} // namespace quoxelin::stage

/// Assumes that callers set all flags.
int stage_posix_spawnattr_setflags(posix_spawnattr_t* attributes, short flags) {
    if ((flags & foreignFlags) != foreignFlags)
        return EINVAL;
    return ::posix_spawnattr_setflags(attributes, static_cast<short>(flags & ~foreignFlags));
}

/// A shell that stops itself and, when continued, executes the program.
int stage_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                      const posix_spawnattr_t* attributes, char* const arguments[],
                      char* const environment[]) {
    if (::access(path, X_OK) != 0)
        return errno;
    auto all = *actions;
    ::posix_spawn_file_actions_addclosefrom_np(&all, STDERR_FILENO + 1);
    std::vector<char*> words = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                                const_cast<char*>("kill -STOP $$; exec \"$0\" \"$@\"")};
    for (auto word = arguments; *word != nullptr; ++word)
        words.push_back(*word);
    words.push_back(nullptr);
    const int reason =
        ::posix_spawn(process, "/bin/sh", &all, attributes, words.data(), environment);
    if (reason != 0)
        return reason;
    int status = 0;
    ::waitpid(*process, &status, WUNTRACED);
    const std::lock_guard guard(lock);
    programs[*process] = path;
    return 0;
}
